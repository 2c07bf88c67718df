#include "app/Snapshot.h"

#include "app/ContentView.h"
#include "app/PreviewStates.h"

#include <QImage>

#include <system_error>

namespace korvane {

namespace {

QImage rendered(ContentView& view)
{
    constexpr double scale = 2;
    view.ensurePolished();
    QImage image(view.size() * scale, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    view.render(&image);
    return image;
}

} // namespace

void Snapshot::write(const std::filesystem::path& folder, const std::string& name, AppState& state)
{
    ContentView view(state);
    const auto file = folder / ("dropdown-" + name + ".png");
    rendered(view).save(QString::fromStdString(file.native()), "PNG");
}

void Snapshot::write(const std::filesystem::path& folder)
{
    std::error_code failure;
    std::filesystem::create_directories(folder, failure);
    if (failure)
        return;
    AppState list(PreviewStates::list());
    AppState qr(PreviewStates::qr());
    AppState access(PreviewStates::access());
    write(folder, "list", list);
    write(folder, "qr", qr);
    write(folder, "access", access);
}

} // namespace korvane

#include "app/Snapshot.h"

#include "app/ContentView.h"
#include "pairing/QrImage.h"
#include "state/PhoneTransfer.h"

#include <QImage>

#include <chrono>
#include <system_error>

namespace korvane {

namespace {

struct SampleChat {
    const char* title;
    bool isGroup;
    std::int64_t messages;
    std::chrono::year_month_day last;
};

const std::string handedOver = "The Weekend People";

constexpr std::chrono::year_month_day day(int year, unsigned month, unsigned day)
{
    return {std::chrono::year(year), std::chrono::month(month), std::chrono::day(day)};
}

/// Noon UTC, which falls on the same day in nearly all time zones.
ReferenceTime noonOf(std::chrono::year_month_day date)
{
    const auto sinceEpoch = std::chrono::sys_days(date).time_since_epoch() + std::chrono::hours(12);
    return std::chrono::duration_cast<ReferenceTime>(sinceEpoch)
        - ReferenceTime(static_cast<double>(referenceDateUnixSeconds));
}

std::vector<SampleChat> sampleChats()
{
    return {
        {handedOver.c_str(), true, 12'480, day(2026, 5, 17)},
        {"Maya Lindqvist", false, 3'906, day(2026, 5, 17)},
        {"Dad", false, 1'275, day(2026, 5, 16)},
        {"Flat 4B", true, 842, day(2026, 5, 14)},
        {"Noor & Tomás", true, 5'311, day(2026, 5, 9)},
        {"Book Club, Third Thursday", true, 2'064, day(2026, 4, 30)},
        {"+1 (202) 555-0142", false, 7, day(2026, 3, 2)},
    };
}

AppState::Preview filled()
{
    AppState::Preview preview;
    std::int64_t id = 0;
    for (const SampleChat& sample : sampleChats()) {
        ++id;
        preview.chats.push_back({.id = id,
            .guid = "preview-" + std::to_string(id),
            .isGroup = sample.isGroup,
            .lastDate = noonOf(sample.last),
            .messageCount = sample.messages});
        preview.titles[id] = sample.title;
    }
    preview.selected = {preview.chats.front().guid};
    preview.outputFolder = "~/Documents/Quorvish";
    preview.status = "Last export 2 minutes ago.";
    return preview;
}

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

AppState::Preview PreviewStates::list()
{
    return filled();
}

AppState::Preview PreviewStates::qr()
{
    AppState::Preview preview = filled();
    preview.transferQR
        = PhoneTransfer::picture("https://example.com/korvane-sync?host=192.0.2.20&port=49152"
                                 "&note=leads-nowhere-and-is-as-long-as-those-that-a-phone"
                                 "-scans-so-that-the-code-looks-alike");
    preview.transferChatTitle = handedOver;
    return preview;
}

AppState::Preview PreviewStates::access()
{
    AppState::Preview preview = filled();
    preview.needsAccess = true;
    preview.status = "Waiting for Full Disk Access.";
    return preview;
}

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

// A library that LD_PRELOAD loads into an unmodified program. When the first window, or the first
// list with rows, has been painted, it writes the time to the descriptor that the environment names
// and exits, so that the process' peak memory is that of the start alone.

#include "FirstPaint.h"
#include "PaintWatch.h"

#include <QAbstractItemView>
#include <QCoreApplication>

#include <chrono>
#include <cstdlib>
#include <memory>

#include <unistd.h>

namespace {

using namespace korvane;

bool isFilledList(const QWidget& widget)
{
    const auto* list = qobject_cast<const QAbstractItemView*>(widget.parentWidget());
    return list && list->viewport() == &widget && list->model() && list->model()->rowCount() > 0;
}

bool isWanted(const QWidget& widget)
{
    return qEnvironmentVariable(FirstPaint::wanted) == QLatin1String(FirstPaint::list)
        ? isFilledList(widget)
        : widget.isWindow();
}

[[noreturn]] void tellAndEnd()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    const int channel = qEnvironmentVariableIntValue(FirstPaint::channel);
    const bool told = ::write(channel, &now, sizeof now) == sizeof now;
    ::_exit(told ? EXIT_SUCCESS : EXIT_FAILURE);
}

void watch()
{
    static const auto watching = std::make_unique<PaintWatch>(isWanted, tellAndEnd);
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(watch)

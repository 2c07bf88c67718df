#include "storage/FileStamp.h"

namespace korvane {

FileStamp::Time FileStamp::timeOf(Clock::time_point time)
{
    const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
    return {seconds.time_since_epoch(), time - seconds};
}

} // namespace korvane

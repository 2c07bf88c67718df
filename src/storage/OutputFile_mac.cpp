#include "storage/OutputFile.h"

namespace korvane {

void OutputFile::startFlush() const { } // macOS has no such call

} // namespace korvane

#include "storage/OutputFile.h"

#include <fcntl.h>

namespace korvane {

void OutputFile::startFlush() const
{
    ::sync_file_range(m_descriptor.get(), 0, 0, SYNC_FILE_RANGE_WRITE);
}

} // namespace korvane

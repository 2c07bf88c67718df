#pragma once

#include "check/RecordCounts.h"

#include <string>

namespace korvane {

/// Every count that is not zero: "3 records, 1 missing".
inline std::string describe(const RecordCounts& counts)
{
    std::string text = std::to_string(counts.records) + " records";
    const auto add = [&text](std::int64_t count, const char* name) {
        if (count != 0)
            text += ", " + std::to_string(count) + ' ' + name;
    };
    add(counts.fresh, "new");
    add(counts.missing, "missing");
    add(counts.doubled, "doubled");
    add(counts.torn, "torn");
    add(counts.changed, "changed");
    add(counts.foreign, "foreign");
    add(counts.renamed, "renamed");
    add(counts.gone, "gone");
    return text;
}

} // namespace korvane

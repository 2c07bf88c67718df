#pragma once

#include "messages/Sqlite.h"
#include "sample/SampleDatabase.h"

#include <QTemporaryDir>

#include <cstdint>
#include <string>

namespace korvane {

/// A sample database in a temporary folder, open for queries.
class TemporarySample {
public:
    explicit TemporarySample(const SampleSize& size)
        : m_path(m_folder.filePath(QStringLiteral("chat.db")).toStdString())
        , m_db(write(m_path, size))
    {
    }

    Sqlite::Statement query(const std::string& sql) { return {m_db, sql}; }

    /// The first column of the first row; -1 without rows.
    std::int64_t number(const std::string& sql)
    {
        Sqlite::Statement rows = query(sql);
        return rows.step() ? rows.integer(0) : -1;
    }

private:
    static Sqlite write(const std::string& path, const SampleSize& size)
    {
        writeSampleDatabase(path, size);
        return Sqlite::openReadOnly(path);
    }

    QTemporaryDir m_folder;
    std::string m_path;
    Sqlite m_db;
};

} // namespace korvane

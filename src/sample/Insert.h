#pragma once

#include "messages/Sqlite.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvane::sample {

struct Bytes {
    std::string_view content;
};

/// Puts rows into one table; many with each statement, which is quicker than one by one.
class Insert {
public:
    /// `target` is the table with the columns to fill: "handle (id, service)".
    Insert(Sqlite& connection, std::string target);

    /// Takes over the values of a row, one for each column; it is written in time.
    template <typename... Values>
    void operator()(const Values&... values)
    {
        (keep(values), ...);
        m_columns = sizeof...(Values);
        if (++m_rows == rowsPerStatement)
            writeFullBatch();
    }

    /// Writes the rows that still wait: to be called after the last one.
    void finish();

private:
    struct Value {
        enum class Type { Null, Integer, Text, Bytes };
        Type type = Type::Null;
        std::int64_t integer = 0;
        std::size_t start = 0; ///< In m_texts.
        std::size_t size = 0;
    };

    void keep(std::int64_t integer);
    void keep(std::optional<std::string_view> text);
    void keep(const std::optional<Bytes>& bytes);
    void keepContent(Value::Type type, std::string_view content);

    Sqlite::Statement prepare(std::size_t rows) const;
    void writeFullBatch();
    void write(Sqlite::Statement& statement);
    void bind(Sqlite::Statement& statement, int parameter, const Value& value) const;

    static constexpr std::size_t rowsPerStatement = 32;

    Sqlite& m_connection;
    std::string m_target;
    std::optional<Sqlite::Statement> m_fullBatch;
    std::vector<Value> m_values; ///< Of the rows that wait, row by row.
    std::string m_texts; ///< The texts and bytes among them, one after the other.
    std::size_t m_columns = 0;
    std::size_t m_rows = 0;
};

} // namespace korvane::sample

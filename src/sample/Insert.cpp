#include "sample/Insert.h"

#include <utility>

namespace korvane::sample {

Insert::Insert(Sqlite& connection, std::string target)
    : m_connection(connection)
    , m_target(std::move(target))
{
}

void Insert::finish()
{
    if (m_rows == 0)
        return;
    Sqlite::Statement statement = prepare(m_rows);
    write(statement);
}

void Insert::keep(std::int64_t integer)
{
    m_values.push_back({.type = Value::Type::Integer, .integer = integer});
}

void Insert::keep(std::optional<std::string_view> text)
{
    if (text)
        keepContent(Value::Type::Text, *text);
    else
        m_values.push_back({});
}

void Insert::keep(const std::optional<Bytes>& bytes)
{
    if (bytes)
        keepContent(Value::Type::Bytes, bytes->content);
    else
        m_values.push_back({});
}

void Insert::keepContent(Value::Type type, std::string_view content)
{
    m_values.push_back({.type = type, .start = m_texts.size(), .size = content.size()});
    m_texts += content;
}

Sqlite::Statement Insert::prepare(std::size_t rows) const
{
    std::string row = "(?";
    for (std::size_t column = 1; column < m_columns; ++column)
        row += ", ?";
    row += ")";
    std::string sql = "INSERT INTO " + m_target + " VALUES " + row;
    for (std::size_t added = 1; added < rows; ++added)
        sql += ", " + row;
    return {m_connection, sql};
}

void Insert::writeFullBatch()
{
    if (!m_fullBatch)
        m_fullBatch = prepare(rowsPerStatement);
    write(*m_fullBatch);
}

void Insert::write(Sqlite::Statement& statement)
{
    int parameter = 0;
    for (const Value& value : m_values)
        bind(statement, ++parameter, value);
    statement.step();
    statement.reset();
    m_values.clear();
    m_texts.clear();
    m_rows = 0;
}

void Insert::bind(Sqlite::Statement& statement, int parameter, const Value& value) const
{
    const std::string_view content = std::string_view(m_texts).substr(value.start, value.size);
    switch (value.type) {
    case Value::Type::Null:
        return statement.bindNull(parameter);
    case Value::Type::Integer:
        return statement.bind(parameter, value.integer);
    case Value::Type::Text:
        return statement.bindText(parameter, content);
    case Value::Type::Bytes:
        return statement.bindBlob(parameter, content);
    }
}

} // namespace korvane::sample

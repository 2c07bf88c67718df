#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/// `text` made safe to print on a terminal: control and format characters and line separators,
/// which could move the cursor or reverse the text direction, become U+FFFD. The zero-width joiner
/// is kept, because emoji are composed with it.
std::string printable(std::string_view text);

/// The number of columns that `text` takes on a terminal: wide characters and emoji take two.
int displayWidth(std::string_view text);

/// `text`, truncated with an ellipsis if it is over `widest` columns wide.
std::string fitted(const std::string& text, int widest);

/// Formats a table: columns are as wide as their widest cell and two blanks apart.
class Table {
public:
    enum class Align { Left, Right };

    struct Column {
        std::string heading;
        Align align = Align::Left;
        int widest = 0; ///< in columns; longer cells are truncated; 0 = no limit
    };

    explicit Table(std::vector<Column> columns);

    /// Adds a row with one cell per column. Passes the cells through printable().
    void add(const std::vector<std::string>& cells);

    std::string text() const;

private:
    std::vector<Column> m_columns;
    std::vector<std::vector<std::string>> m_rows;
};

} // namespace korvane

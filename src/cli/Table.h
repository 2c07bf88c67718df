#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/// `text` as a terminal may show it: control and format characters, which could move the cursor
/// or turn the line round, become U+FFFD. (Joiners inside emoji are kept.)
std::string printable(std::string_view text);

/// The columns that `text` takes in a terminal: wide characters and emoji count two.
int displayWidth(std::string_view text);

/// `text`, cut with an ellipsis where it is over `widest` columns wide.
std::string fitted(const std::string& text, int widest);

/// Lines a table up: columns are as wide as their widest cell, two blanks apart.
class Table {
public:
    enum class Align { Left, Right };

    struct Column {
        std::string heading;
        Align align = Align::Left;
        int widest = 0; ///< longer cells are cut with an ellipsis; 0 = never
    };

    explicit Table(std::vector<Column> columns);

    /// One cell a column; cells are made printable here.
    void add(const std::vector<std::string>& cells);

    std::string text() const;

private:
    std::vector<Column> m_columns;
    std::vector<std::vector<std::string>> m_rows;
};

} // namespace korvane

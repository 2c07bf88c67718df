#include "export/FileName.h"

#include "text/Utf8.h"

#include <unicode/brkiter.h>
#include <unicode/uchar.h>
#include <unicode/utext.h>

#include <memory>
#include <stdexcept>

namespace korvane {

namespace {

bool isForbidden(UChar32 character)
{
    constexpr std::string_view forbidden = "\\/:*?\"<>|";
    const bool listed = character < 0x80
        && forbidden.find(static_cast<char>(character)) != std::string_view::npos;
    const auto category = u_charType(character);
    return listed || category == U_CONTROL_CHAR || category == U_FORMAT_CHAR;
}

std::string withoutForbidden(std::string_view text)
{
    std::string clean;
    for (const auto [character, bytes] : CodePoints(text))
        clean += isForbidden(character) ? "_" : bytes;
    return clean;
}

/// Removes leading and trailing Unicode space separators and tabs, but no line breaks.
std::string_view withoutBlanks(std::string_view text)
{
    const char* first = nullptr;
    const char* last = nullptr;
    for (const auto [character, bytes] : CodePoints(text)) {
        if (u_isblank(character))
            continue;
        first = first ? first : bytes.data();
        last = bytes.data() + bytes.size();
    }
    return {first, static_cast<std::size_t>(last - first)};
}

struct CloseText {
    void operator()(UText* text) const { utext_close(text); }
};

void require(UErrorCode status)
{
    if (U_FAILURE(status))
        throw std::runtime_error(u_errorName(status)); // ICU's data files are missing or broken
}

/// Splits a text into grapheme clusters (Unicode Standard Annex 29). The text must outlive it.
class Characters {
public:
    explicit Characters(std::string_view text) : m_text(text)
    {
        UErrorCode status = U_ZERO_ERROR;
        m_source.reset(
            utext_openUTF8(nullptr, text.data(), static_cast<int64_t>(text.size()), &status));
        m_breaks.reset(icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
        require(status);
        m_breaks->setText(m_source.get(), status);
        require(status);
    }

    /// The first `count` clusters; the whole text if it has fewer.
    std::string_view first(int count)
    {
        m_breaks->first();
        const int32_t end = m_breaks->next(count);
        return end == icu::BreakIterator::DONE ? m_text : upTo(end);
    }

    /// As many leading clusters as fit into `size` bytes.
    std::string_view fitting(std::size_t size)
    {
        int32_t end = m_breaks->first();
        for (int32_t next = end;
             next != icu::BreakIterator::DONE && static_cast<std::size_t>(next) <= size;
             next = m_breaks->next())
            end = next;
        return upTo(end);
    }

private:
    std::string_view upTo(int32_t end) const
    {
        return m_text.substr(0, static_cast<std::size_t>(end));
    }

    std::string_view m_text;
    std::unique_ptr<UText, CloseText> m_source;
    std::unique_ptr<icu::BreakIterator> m_breaks;
};

constexpr std::size_t longestName = 255; // bytes, on most file systems

constexpr std::string_view endOfName = " Korvane Wrapped.jsonl.txt";

std::string tailOfName(std::int64_t chatID)
{
    return (" (" + std::to_string(chatID) + ')').append(endOfName);
}

/// The safe title, cut so that `room` more bytes fit behind it.
std::string shortenedTitle(std::string_view title, std::size_t room)
{
    const std::string whole = Exporter::safeFileName(title);
    return std::string(Characters(whole).fitting(longestName - room));
}

} // namespace

std::string Exporter::safeFileName(std::string_view title)
{
    constexpr int mostCharacters = 100;
    const std::string clean = withoutForbidden(title);
    return std::string(Characters(withoutBlanks(clean)).first(mostCharacters));
}

std::string Exporter::exportFileName(std::string_view title, std::int64_t chatID)
{
    return safeFileName(title) + tailOfName(chatID);
}

std::string Exporter::exportFileName(std::string_view title, std::int64_t chatID, int copy)
{
    std::string name = exportFileName(title, chatID);
    return name.insert(name.size() - endOfName.size(), ' ' + std::to_string(copy));
}

std::string Exporter::shortenedFileName(std::string_view title, std::int64_t chatID)
{
    const std::string tail = tailOfName(chatID);
    return shortenedTitle(title, tail.size()) + tail;
}

bool Exporter::isExportFileName(std::string_view name)
{
    return name.ends_with(endOfName);
}

std::filesystem::path Exporter::inFolder(
    const std::filesystem::path& folder, const std::string& name)
{
    return folder.native() + '/' + name;
}

std::string Exporter::keptFileName(
    std::string_view title, std::int64_t chatID, std::string_view epoch)
{
    constexpr std::size_t roomForMark = 10; // for ".unchecked", see KeptFiles
    std::string tail = " (" + std::to_string(chatID) + ") ";
    tail.append(epoch).append(".jsonl.txt");
    return shortenedTitle(title, tail.size() + roomForMark) + tail;
}

} // namespace korvane

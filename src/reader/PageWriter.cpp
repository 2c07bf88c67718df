#include "reader/PageWriter.h"

#include "reader/Conversation.h"
#include "reader/PageParts.h"
#include "reader/TargetFile.h"
#include "text/Json.h"

#include <QByteArray>
#include <QCryptographicHash>

#include <fstream>
#include <utility>

namespace korvane {

namespace fs = std::filesystem;

namespace {

QByteArray viewed(std::string_view bytes)
{
    return QByteArray::fromRawData(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

/// How the frame begins. Tells which files may be replaced.
constexpr std::string_view generator
    = "<!doctype html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<meta name=\"generator\" content=\"Korvane Sync\">\n";

/// Names one inline script or style in a content security policy.
std::string sourceOf(std::string_view text)
{
    const QByteArray hash = QCryptographicHash::hash(viewed(text), QCryptographicHash::Sha256);
    return "'sha256-" + hash.toBase64().toStdString() + '\'';
}

std::string policy()
{
    return "default-src 'none'; script-src " + sourceOf(PageParts::script) + "; style-src "
        + sourceOf(PageParts::style) + "; base-uri 'none'; form-action 'none'";
}

/// The part of the frame between two markers; from the start and to the end if they are empty.
std::string_view between(std::string_view from, std::string_view to)
{
    const std::string_view frame = PageParts::frame;
    const std::size_t start = from.empty() ? 0 : frame.find(from) + from.size();
    return frame.substr(start, to.empty() ? frame.npos : frame.find(to) - start);
}

/// JSON in which no text can end the element that it is in.
std::string withoutTags(const std::string& json)
{
    std::string safe;
    for (const char c : json) {
        if (c == '<')
            safe += "\\u003c";
        else
            safe += c;
    }
    return safe;
}

std::string json(const PagePeople::Person& person)
{
    return Json::Object().text("name", person.name).boolean("isMe", person.isMe).finished();
}

std::string json(const ArchivedChat& chat, const PackedChat& packed)
{
    const auto size = [](const PackedChat::Block& block) { return std::to_string(block.entries); };
    return Json::Object()
        .text("guid", chat.guid)
        .text("title", chat.title)
        .number("entries", static_cast<std::int64_t>(packed.entries))
        .number("messages", static_cast<std::int64_t>(packed.messages))
        .number("first", packed.first)
        .number("last", packed.last)
        .value("blocks", Json::array(packed.blocks, size))
        .finished();
}

/// Whether the regular file is empty, or a page that PageWriter began.
bool isReplaceable(const fs::path& file)
{
    std::string read(generator.size(), '\0');
    std::ifstream input(file, std::ios::binary);
    if (!input)
        return false;
    input.read(read.data(), static_cast<std::streamsize>(read.size()));
    return input.gcount() == 0 || read == generator;
}

/// The path, if it may be written.
fs::path checked(fs::path file, Files::Existing existing)
{
    TargetFile::concerning(file, [&] {
        TargetFile::check(file, existing, isReplaceable, "a page that \"read --html\" wrote");
    });
    return file;
}

} // namespace

PageWriter::PageWriter(fs::path file, Files::Existing existing)
    : m_file(checked(std::move(file), existing))
    , m_existing(existing)
    , m_draft(TargetFile::concerning(m_file, [this] { return Draft(m_file); }))
    , m_output(TargetFile::concerning(m_file, [this] { return OutputFile(m_draft.path()); }))
{
    append(between({}, "@policy@"));
    append(policy());
    append(between("@policy@", "@style@"));
    append(PageParts::style);
    append(between("@style@", "@data@"));
}

void PageWriter::write(const Conversation& conversation, const Selection& chosen)
{
    if (chosen.empty())
        return;
    const PackedChat packed = PackedChat::of(conversation, chosen, m_people);
    if (packed.entries == 0)
        return;
    const std::string number = std::to_string(m_chats.size());
    appendPacked("facts-" + number, packed.facts);
    for (std::size_t i = 0; i < packed.blocks.size(); ++i)
        appendPacked("texts-" + number + '-' + std::to_string(i), packed.blocks[i].bytes);
    m_chats.push_back(json(conversation.chat(), packed));
}

void PageWriter::finish()
{
    const auto person = [](const PagePeople::Person& each) { return json(each); };
    const auto asItIs = [](const std::string& chat) { return chat; };
    append("<script type=\"application/json\" id=\"archive\">");
    append(withoutTags(Json::Object()
                           .value("people", Json::array(m_people.all(), person))
                           .value("chats", Json::array(m_chats, asItIs))
                           .finished()));
    append("</script>");
    append(between("@data@", "@script@"));
    append(PageParts::script);
    append(between("@script@", {}));
    TargetFile::concerning(m_file, [this] {
        Files::flush(m_draft.descriptor());
        m_draft.giveName(m_file, m_existing);
    });
}

void PageWriter::appendPacked(const std::string& id, std::string_view bytes)
{
    append("<script type=\"text/plain\" id=\"" + id + "\">");
    append(viewed(m_deflate.compress(bytes)).toBase64().toStdString());
    append("</script>\n");
}

void PageWriter::append(std::string_view text)
{
    TargetFile::concerning(m_file, [&] { m_output.append(text); });
}

} // namespace korvane

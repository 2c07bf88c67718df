#include "crash/Disk.h"

#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace korvane {

namespace fs = std::filesystem;

namespace {

std::string inodeOf(const std::string& path)
{
    struct stat info { };
    if (::lstat(path.c_str(), &info) != 0)
        throw std::runtime_error("no inode: " + path);
    return std::to_string(info.st_ino);
}

std::string fromHexadecimal(const std::string& text)
{
    std::string bytes;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2)
        bytes += static_cast<char>(std::stoi(text.substr(i, 2), nullptr, 16));
    return bytes;
}

std::string parentOf(const std::string& path)
{
    return fs::path(path).parent_path().native();
}

std::size_t randomIndex(std::mt19937& random, std::size_t count)
{
    return std::uniform_int_distribution<std::size_t>(0, count - 1)(random);
}

/// The bytes of a file after a power cut. See Disk for the rule.
std::string survivingBytes(const std::string& durable, const std::string& current,
    const std::vector<std::size_t>& sizes, std::mt19937& random)
{
    constexpr std::size_t blockSize = 512;
    const std::size_t chosen = randomIndex(random, sizes.size() + 1);
    const std::size_t size = chosen == 0 ? durable.size() : sizes[chosen - 1];
    std::string bytes = durable;
    bytes.resize(size);
    for (std::size_t block = 0; block < size; block += blockSize) {
        const std::size_t end = std::min({block + blockSize, size, current.size()});
        if (random() % 2 == 0 && block < end)
            bytes.replace(block, end - block, current, block, end - block);
    }
    return bytes;
}

} // namespace

std::string DiskChange::subject() const
{
    std::string text;
    for (const std::string& argument : arguments) {
        const std::string bytes = fromHexadecimal(argument);
        text += bytes.starts_with('/') ? fs::path(bytes).filename().native() + ' ' : "";
    }
    return text;
}

std::vector<DiskChange> changesIn(const fs::path& log)
{
    std::vector<DiskChange> changes;
    std::ifstream in(log);
    for (std::string line; std::getline(in, line) && !in.eof();) {
        std::istringstream words(line);
        DiskChange& change = changes.emplace_back();
        words >> change.number >> change.kind;
        for (std::string word; words >> word;)
            change.arguments.push_back(word);
    }
    return changes;
}

Disk::Disk(const std::vector<fs::path>& folders)
{
    for (const auto& [path, bytes] : readTree(folders)) {
        m_inodes[inodeOf(path)] = m_objects.size();
        m_names[path] = m_objects.size();
        m_objects.push_back({!bytes, bytes.value_or(""), bytes.value_or(""), {}});
    }
    m_namesBefore = m_names;
}

void Disk::apply(const std::vector<DiskChange>& changes)
{
    for (const DiskChange& change : changes)
        apply(change);
}

void Disk::apply(const DiskChange& change)
{
    const auto path = [&](std::size_t i) { return fromHexadecimal(change.arguments.at(i)); };
    const auto object
        = [&]() -> Object& { return m_objects.at(m_inodes.at(change.arguments.at(0))); };
    if (change.kind == "create" || change.kind == "mkdir") {
        create(change, change.kind == "mkdir");
    } else if (change.kind == "write") {
        write(change);
    } else if (change.kind == "truncate") {
        object().bytes.resize(std::stoul(change.arguments.at(1)));
        object().sizes.push_back(object().bytes.size());
    } else if (change.kind == "rename") {
        rename(path(0), path(1));
    } else if (change.kind == "link") {
        changeName({.from = "", .to = path(1), .object = m_names.at(path(0))});
    } else if (change.kind == "unlink") {
        changeName({.from = path(0), .to = "", .object = m_names.at(path(0))});
    } else if (change.kind == "sync") {
        sync(object());
    } else if (change.kind == "syncall") {
        syncEverything();
    }
}

void Disk::create(const DiskChange& change, bool isFolder)
{
    m_inodes[change.arguments.at(0)] = m_objects.size();
    const ObjectIndex object = m_objects.size();
    m_objects.push_back({isFolder, "", "", {}});
    changeName({.from = "", .to = fromHexadecimal(change.arguments.at(1)), .object = object});
}

void Disk::write(const DiskChange& change)
{
    Object& object = m_objects.at(m_inodes.at(change.arguments.at(0)));
    const std::size_t offset = std::stoul(change.arguments.at(1));
    const std::string bytes = fromHexadecimal(change.arguments.at(2));
    if (object.bytes.size() < offset + bytes.size())
        object.bytes.resize(offset + bytes.size());
    object.bytes.replace(offset, bytes.size(), bytes);
    object.sizes.push_back(object.bytes.size());
}

void Disk::sync(Object& object)
{
    object.durable = object.bytes;
    object.sizes.clear();
    if (object.isFolder)
        syncNamesIn(static_cast<ObjectIndex>(&object - m_objects.data()));
}

void Disk::syncNamesIn(ObjectIndex folder)
{
    const std::string path = pathOf(folder);
    for (NameChange& change : m_nameChanges) {
        change.fromIsDurable = change.fromIsDurable || parentOf(change.from) == path;
        change.toIsDurable = change.toIsDurable || parentOf(change.to) == path;
    }
}

void Disk::syncEverything()
{
    for (Object& object : m_objects)
        sync(object);
    m_namesBefore = m_names;
    m_nameChanges.clear();
}

void Disk::rename(const std::string& from, const std::string& to)
{
    const ObjectIndex object = m_names.at(from);
    if (m_objects[object].isFolder)
        throw std::runtime_error("renamed a folder: " + from);
    changeName({.from = from, .to = to, .object = object});
}

void Disk::changeName(NameChange change)
{
    change.fromIsDurable = change.from.empty();
    change.toIsDurable = change.to.empty();
    m_names.erase(change.from);
    if (!change.to.empty())
        m_names[change.to] = change.object;
    m_nameChanges.push_back(std::move(change));
}

std::string Disk::pathOf(ObjectIndex folder) const
{
    const auto found = std::find_if(m_names.begin(), m_names.end(),
        [folder](const auto& name) { return name.second == folder; });
    return found != m_names.end() ? found->first : "";
}

Tree Disk::contents() const
{
    return afterPowerCut({.choice = Survivors::Choice::Everything});
}

Tree Disk::afterPowerCut(const Survivors& survivors) const
{
    std::mt19937 random(survivors.seed);
    Tree tree;
    for (const auto& [path, index] : survivingNames(survivors, random)) {
        const Object& object = m_objects[index];
        const std::string parent = parentOf(path);
        const bool isInFolder = m_names.contains(parent) || m_namesBefore.contains(parent);
        if (isInFolder && !tree.contains(parent))
            continue; // its folder did not survive
        if (object.isFolder)
            tree[path] = std::nullopt;
        else if (survivors.choice == Survivors::Choice::Random)
            tree[path] = survivingBytes(object.durable, object.bytes, object.sizes, random);
        else
            tree[path]
                = survivors.choice == Survivors::Choice::Everything ? object.bytes : object.durable;
    }
    return tree;
}

Disk::Names Disk::survivingNames(const Survivors& survivors, std::mt19937& random) const
{
    const bool everything = survivors.choice == Survivors::Choice::Everything;
    const bool none = survivors.choice == Survivors::Choice::Nothing;
    const auto percentage = random() % 3 * 45 + 5; // few, half or nearly all of them
    Names names = m_namesBefore;
    std::set<std::string> lost; // folders of which a change is lost
    for (const NameChange& change : m_nameChanges) {
        const bool durable = change.fromIsDurable && change.toIsDurable;
        const bool follows
            = lost.contains(parentOf(change.from)) || lost.contains(parentOf(change.to));
        const bool survives = everything || (!none && !follows && random() % 100 < percentage);
        if (!durable && !survives) {
            lost.insert(parentOf(change.from.empty() ? change.to : change.from));
            lost.insert(parentOf(change.to.empty() ? change.from : change.to));
            continue;
        }
        names.erase(change.from);
        if (!change.to.empty())
            names[change.to] = change.object;
    }
    return names;
}

} // namespace korvane

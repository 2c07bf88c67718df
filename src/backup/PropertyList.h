#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/// A property list, XML or binary, read by libplist, which only this class calls. Used by one
/// thread at a time.
class PropertyList {
public:
    /// A value of the list, or none: then everything below is absent, too. A view, valid as long as
    /// the list.
    class Value {
    public:
        /// The value for a key of a dictionary; none if this is something else.
        Value operator[](const char* key) const;

        /// An item of an array, counted from 0; none if this is something else.
        Value at(std::uint64_t index) const;

        /// Absent if this is a value of another type.
        std::optional<std::string_view> text() const; ///< UTF-8, or what the file has instead
        std::optional<std::string_view> data() const;
        std::optional<bool> boolean() const;
        std::optional<std::uint64_t> integer() const;
        std::optional<std::chrono::sys_seconds> date() const;

        /// An index into the objects of a keyed archive (UID).
        std::optional<std::uint64_t> reference() const;

        bool isDictionary() const;

        explicit operator bool() const { return m_node != nullptr; }

    private:
        friend class PropertyList;

        explicit Value(void* node) : m_node(node) { }

        void* m_node;
    };

    /// Nothing if the bytes are not a property list or exceed the limits (see isModest()).
    static std::optional<PropertyList> parse(std::string_view bytes);

    Value root() const { return Value(m_root.get()); }

    /// The same as root()[key].
    Value operator[](const char* key) const { return root()[key]; }

private:
    struct Free {
        void operator()(void* node) const;
    };

    explicit PropertyList(void* root) : m_root(root) { }

    std::unique_ptr<void, Free> m_root;
};

} // namespace korvane

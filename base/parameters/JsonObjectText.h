#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/parameters/JsonWriter.h"
#include "base/parameters/Parameters.h"

namespace CoreServices {

/// Writes one JSON object, member by member in order, straight into its text: the text that
/// `Parameters::toJSON` gives of a tree with these members, without the tree. No key comes twice. It holds a
/// few KB, and is meant for the stack. For one use by one thread.
class JsonObjectText {
public:
    JsonObjectText() noexcept = default;
    JsonObjectText(const JsonObjectText&) = delete;
    JsonObjectText& operator=(const JsonObjectText&) = delete;

    void AddText(std::string_view key, std::string_view text);
    void AddFlag(std::string_view key, bool value);
    void AddInteger(std::string_view key, std::int32_t value);
    /// A text, which holds the JSON text of the tree.
    void AddTextOf(std::string_view key, const Parameters& tree);

    /// The whole object. To be called once, at the end.
    std::string Finish();

private:
    void BeginMember(std::string_view key);

    bool m_isEmpty = true;
    Tree::JsonWriter m_writer{Tree::JsonWriter::Layout::Compact};
};

}  // namespace CoreServices

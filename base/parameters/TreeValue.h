#pragma once

#include <cstdint>
#include <string_view>
#include <variant>

#include "base/parameters/NodeRef.h"
#include "base/parameters/TreeText.h"

namespace CoreServices::Tree {

struct Null {};

/// Numbers are kept as the text of their JSON token, so that none changes on its way through.
struct Integer {
    explicit Integer(std::string_view jsonToken) : token(jsonToken) {}
    std::int32_t Read() const noexcept;

    Text token;  // no fraction, no exponent, fits 32 bits
};
struct Double {
    explicit Double(std::string_view jsonToken) : token(jsonToken) {}
    /// Infinite where the token is too large for a double.
    double Read() const noexcept;

    Text token;  // any other number
};

using Value = std::variant<Null, bool, Integer, Double, Text, NodeRef>;

struct Member {
    explicit Member(std::string_view ofKey) : key(ofKey) {}

    Text key;
    Value value;
};

/// `token` is a JSON number.
void SetNumber(Value& value, std::string_view token);

}  // namespace CoreServices::Tree

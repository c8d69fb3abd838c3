// SPDX-License-Identifier: MIT
// Looking for publishers' names in paths and in what packages say of themselves. Only for the files of this folder.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <regex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kes::reference {

/// A name hits a text when it stands in it as written, or when the text is one of the expression ".*name.*" in any
/// case. Thousands of texts are asked for a thousand names, so the names without a meaning as an expression are found
/// by their first three characters, and only what is left is matched one by one.
class PublisherIndex {
public:
    /// Takes the names, each group with its canonical name first. What was there before is gone.
    void build(const std::vector<std::vector<std::string>>& groups);
    /// The number of the group with the first name that hits, in the order of groups and of the names in them. Throws
    /// std::regex_error when a name that comes before any hit is no valid expression. In texts of more than
    /// `longestForExpressions` bytes a name with other signs of an expression than '.' is only found as written: the
    /// library's matcher goes one call deeper with each character.
    std::optional<std::size_t> groupOf(std::string_view text) const;
    static constexpr std::size_t longestForExpressions = 4096;

private:
    using Order = std::uint32_t; ///< place among all names of all groups
    static constexpr Order none = std::numeric_limits<Order>::max();
    struct Name {
        std::uint32_t group = 0;
        std::string exact, lower;
    };
    struct Expression {
        Order order = 0;
        std::optional<std::regex> compiled; ///< nothing: the name is no valid one
        std::string needed;                 ///< in lower case; stands in every text that the expression hits
    };
    bool hits(const Expression& expression, std::string_view text, const std::string& lower) const;

    std::vector<Name> names;
    Order emptyName = none;                                        ///< the first of them
    std::unordered_map<std::uint32_t, std::vector<Order>> byStart; ///< first three characters in lower case
    std::vector<Order> shortNames;                                 ///< one or two characters
    std::vector<Order> dotted;                                     ///< with '.' for any character
    std::vector<Expression> expressions;
};

} // namespace kes::reference

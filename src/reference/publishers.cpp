// SPDX-License-Identifier: MIT
#include "reference/publishers.h"

#include <algorithm>

namespace kes::reference {

namespace {

constexpr auto expressionFlags = std::regex::ECMAScript | std::regex::icase;

std::string lowerCase(std::string_view text) {
    std::string out(text);
    for (char& c : out)
        c = static_cast<char>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c);
    return out;
}

std::regex expressionOf(const std::string& name) {
    return std::regex(".*" + name + ".*", expressionFlags);
}

std::uint32_t threeAt(std::string_view text, std::size_t at) {
    const auto byte = [&](std::size_t i) { return std::uint32_t{static_cast<unsigned char>(text[at + i])}; };
    return byte(0) << 16 | byte(1) << 8 | byte(2);
}

/// The longest piece of the expression (in lower case) without which no text can hit, or an empty text where that is
/// not plain to see.
std::string neededPiece(std::string_view name) {
    if (name.find_first_of("|[]{}\\") != std::string_view::npos)
        return {};
    std::string longest, piece;
    int depth = 0;
    const auto end = [&] {
        if (piece.size() > longest.size())
            longest = piece;
        piece.clear();
    };
    bool quantified = false;
    for (const char c : name) {
        const bool again = quantified;
        quantified = c == '*' || c == '+' || c == '?';
        if (again && quantified)
            return {}; // what had to be there once may then be missing
        depth += c == '(' ? 1 : c == ')' ? -1 : 0;
        if (std::string_view("^$.*+?()").find(c) == std::string_view::npos) {
            if (depth == 0)
                piece += c;
            continue;
        }
        if ((c == '*' || c == '?') && !piece.empty())
            piece.pop_back(); // may be missing
        end();
    }
    end();
    return longest;
}

/// Whether the name, in which '.' stands for any character, stands in the text.
bool holdsDotted(std::string_view text, std::string_view name) {
    for (std::size_t at = 0; at + name.size() <= text.size(); ++at) {
        std::size_t i = 0;
        while (i < name.size() && (name[i] == '.' || name[i] == text[at + i]))
            ++i;
        if (i == name.size())
            return true;
    }
    return false;
}

} // namespace

void PublisherIndex::build(const std::vector<std::vector<std::string>>& groups) {
    *this = {};
    for (std::size_t group = 0; group < groups.size(); ++group) {
        for (const std::string& name : groups[group]) {
            const auto order = static_cast<Order>(names.size());
            const Name& entry = names.emplace_back(Name{static_cast<std::uint32_t>(group), name, lowerCase(name)});
            if (name.empty()) {
                emptyName = std::min(emptyName, order);
            } else if (name.find_first_of("^$\\*+?()[]{}|\r\n") != std::string::npos) {
                Expression& expression = expressions.emplace_back(Expression{order, {}, {}});
                try {
                    expression.compiled = expressionOf(name);
                    expression.needed = neededPiece(entry.lower);
                } catch (const std::regex_error&) {
                    // told when a search comes to this name
                }
            } else if (name.find('.') != std::string::npos) {
                dotted.push_back(order);
            } else if (name.size() < 3) {
                shortNames.push_back(order);
            } else {
                byStart[threeAt(entry.lower, 0)].push_back(order);
            }
        }
    }
}

bool PublisherIndex::hits(const Expression& expression, std::string_view text, const std::string& lower) const {
    // The library's matcher takes microseconds, and most texts lack what the expression cannot do without. The name as
    // it is written holds that as well.
    if (lower.find(expression.needed) == std::string::npos)
        return false;
    const std::string& name = names[expression.order].exact;
    if (text.find(name) != std::string_view::npos)
        return true;
    if (!expression.compiled)
        (void)expressionOf(name); // fails as it did when the tables were built
    return text.size() <= longestForExpressions && expression.compiled &&
           std::regex_match(text.begin(), text.end(), *expression.compiled);
}

std::optional<std::size_t> PublisherIndex::groupOf(std::string_view text) const {
    const std::string lower = lowerCase(text);
    // '.' stands for no line end, so nothing but the name as written is found in a text of several lines.
    const bool oneLine = text.find_first_of("\r\n") == std::string_view::npos;
    const std::string_view searched = oneLine ? std::string_view(lower) : text;
    const auto written = [&](Order order) -> const std::string& {
        return oneLine ? names[order].lower : names[order].exact;
    };
    Order best = emptyName;
    for (std::size_t at = 0; at + 3 <= lower.size(); ++at) {
        const auto starts = byStart.find(threeAt(lower, at));
        if (starts == byStart.end())
            continue;
        for (const Order order : starts->second) {
            if (order >= best)
                break;
            if (searched.substr(at).starts_with(written(order)))
                best = order;
        }
    }
    for (const Order order : shortNames) {
        if (order >= best)
            break;
        if (searched.find(written(order)) != std::string_view::npos)
            best = order;
    }
    for (const Order order : dotted) {
        if (order >= best)
            break;
        if (oneLine ? holdsDotted(lower, written(order)) : text.find(written(order)) != std::string_view::npos)
            best = order;
    }
    for (const Expression& expression : expressions) {
        if (expression.order >= best)
            break;
        if (hits(expression, text, lower))
            best = expression.order;
    }
    if (best == none)
        return {};
    return names[best].group;
}

} // namespace kes::reference

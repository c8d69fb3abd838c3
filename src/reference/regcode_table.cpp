// SPDX-License-Identifier: MIT
#include "reference/regcode_table.h"

#include "core/codes.h"
#include "reference/text_map.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace kes::reference {

namespace {

std::uint32_t checkOf(std::size_t hash) {
    return static_cast<std::uint32_t>(static_cast<std::uint64_t>(hash) >> 32);
}

std::uint32_t byteAt(std::string_view text, std::size_t at) {
    return static_cast<unsigned char>(text[at]);
}

/// The characters of a text of 1 to 4 in one word. None of a registration's is zero, so the size is told as well.
std::uint32_t word(std::string_view text) {
    std::uint32_t all = 0;
    for (std::size_t i = 0; i < text.size(); ++i)
        all = all << 8 | byteAt(text, i);
    return all;
}

} // namespace

std::string_view RegcodeTable::key(std::uint32_t number) const {
    const std::uint32_t begin = number == 0 ? 0 : entries[number - 1].keyEnd;
    return std::string_view(keys).substr(begin, entries[number].keyEnd - begin);
}

std::size_t RegcodeTable::place(std::string_view wanted, std::size_t hash) const {
    const std::size_t last = slots.size() - 1;
    std::size_t at = hash & last;
    while (slots[at].next != 0 && (slots[at].check != checkOf(hash) || key(slots[at].next - 1) != wanted))
        at = (at + 1) & last;
    return at;
}

const PackedRecord* RegcodeTable::find(std::string_view wanted) const {
    if (slots.empty())
        return nullptr;
    const Slot& slot = slots[place(wanted, TextHash{}(wanted))];
    return slot.next == 0 ? nullptr : &entries[slot.next - 1].record;
}

void RegcodeTable::grow() {
    std::vector<Slot> wider(std::max<std::size_t>(64, slots.size() * 2));
    const std::size_t last = wider.size() - 1;
    for (std::uint32_t number = 0; number < entries.size(); ++number) {
        const std::size_t hash = TextHash{}(key(number));
        std::size_t at = hash & last;
        while (wider[at].next != 0)
            at = (at + 1) & last;
        wider[at] = {checkOf(hash), number + 1};
    }
    slots = std::move(wider);
}

bool RegcodeTable::insert(std::string_view newKey, const PackedRecord& record) {
    if ((entries.size() + 1) * 4 > slots.size() * 3)
        grow();
    const std::size_t hash = TextHash{}(newKey);
    const std::size_t at = place(newKey, hash);
    if (slots[at].next != 0)
        return false;
    if (newKey.size() > std::numeric_limits<std::uint32_t>::max() - keys.size())
        throw std::length_error("too many registrations");
    keys += newKey;
    entries.push_back({static_cast<std::uint32_t>(keys.size()), record});
    slots[at] = {checkOf(hash), static_cast<std::uint32_t>(entries.size())};
    return true;
}

void RegcodeTable::shrink() {
    entries.shrink_to_fit();
    keys.shrink_to_fit();
}

void ShortRegcodes::build(const RegcodeTable& table) {
    for (std::uint32_t number = 0; number < table.size(); ++number) {
        const PackedRecord& record = table.record(number);
        const std::string_view key = table.key(number);
        if (key.empty() || key.size() > longest ||
            std::string_view(record.airl.data(), record.airl.size()) != privateAirline)
            continue;
        if (key.size() == 1)
            singles.set(byteAt(key, 0));
        else
            starts.set(byteAt(key, 0) << 8 | byteAt(key, 1));
        numbers.emplace(word(key), number);
    }
}

std::string_view ShortRegcodes::in(std::string_view title, const RegcodeTable& table) const {
    constexpr std::uint32_t none = std::numeric_limits<std::uint32_t>::max();
    std::uint32_t first = none;
    const auto look = [&](std::string_view piece) {
        const auto found = numbers.find(word(piece));
        if (found != numbers.end())
            first = std::min(first, found->second);
    };
    for (std::size_t at = 0; at < title.size(); ++at) {
        if (singles[byteAt(title, at)])
            look(title.substr(at, 1));
        if (at + 1 < title.size() && starts[byteAt(title, at) << 8 | byteAt(title, at + 1)]) {
            for (std::size_t size = 2; size <= std::min(longest, title.size() - at); ++size)
                look(title.substr(at, size));
        }
    }
    return first == none ? std::string_view() : table.key(first);
}

} // namespace kes::reference

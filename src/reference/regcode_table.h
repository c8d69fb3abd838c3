// SPDX-License-Identifier: MIT
// Registrations and what is known of their airframes: half a million of them have to fit beside a simulator. Only for
// the files of this folder.
#pragma once

#include <array>
#include <bitset>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kes::reference {

/// The codes of an airframe, filled up with zeros.
struct PackedRecord {
    std::array<char, 3> airl{};
    std::array<char, 4> type{};
    std::array<char, 3> opr{};
    bool cargo = false;
};

/// A hash table that only grows. The records lie in the order in which they came, their keys one behind the other in
/// one text, and the slots hold numbers: some 30 bytes for a registration.
class RegcodeTable {
public:
    /// False when the key is there already; the first record stays. Throws std::length_error beyond 4 GB of keys.
    bool insert(std::string_view key, const PackedRecord& record);
    const PackedRecord* find(std::string_view key) const; ///< null = unknown
    std::size_t size() const { return entries.size(); }
    std::string_view key(std::uint32_t number) const; ///< by the order of insertion; valid as long as the table
    const PackedRecord& record(std::uint32_t number) const { return entries[number].record; }
    void shrink(); ///< gives back the room kept for growing

private:
    struct Entry {
        std::uint32_t keyEnd = 0; ///< in `keys`; a key begins where the one before it ends
        PackedRecord record;
    };
    struct Slot {
        std::uint32_t check = 0; ///< the part of the hash that does not tell the slot
        std::uint32_t next = 0;  ///< number of the entry and 1; 0 = free
    };
    /// The slot that holds the key, or the free one where it belongs.
    std::size_t place(std::string_view key, std::size_t hash) const;
    void grow();

    std::vector<Entry> entries;
    std::string keys;
    std::vector<Slot> slots; ///< a power of two, at least a quarter of them free
};

/// Finds the registrations of private owners that are short enough to be looked for inside a title.
class ShortRegcodes {
public:
    static constexpr std::size_t longest = 4;
    void build(const RegcodeTable& table); ///< which has to be the one that `in` is given
    /// The first of the table that stands in the title; empty = none.
    std::string_view in(std::string_view title, const RegcodeTable& table) const;

private:
    std::bitset<256> singles;                                 ///< registrations of one character
    std::bitset<65536> starts;                                ///< first two characters of the longer ones
    std::unordered_map<std::uint32_t, std::uint32_t> numbers; ///< characters in one word, to the number in the table
};

} // namespace kes::reference

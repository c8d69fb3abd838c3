// SPDX-License-Identifier: MIT
#include "airports/bgl_reader.h"

#include "airports/airport_table.h"
#include "airports/airport_xml.h"
#include "core/byte_reader.h"
#include "core/geo.h"
#include "core/run_state.h"
#include "platform/file.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <fmt/format.h>
#include <memory>
#include <set>
#include <stdexcept>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace kes {

namespace {

constexpr std::size_t wordSize = 4;
constexpr std::size_t headerSize = 56, sectionSize = 20, leastFile = 15;
constexpr std::uint32_t airportSection = 3, longSubsections = 0x10000;
constexpr std::size_t firstRead = 4096, readBlock = std::size_t{4} << 20;
constexpr std::size_t roomKept = std::size_t{8} << 20; ///< by each thread, between files

enum RecordType : std::uint16_t { helipadRecord = 38, airportRecord = 86, parkingRecord = 231, newAirportRecord = 275 };

// A file may point at the same bytes again and again. What is looked at is bounded by its size.
constexpr std::size_t stepsPerWord = 16, leastSteps = 4096;
constexpr std::size_t mostAirports = 100000, mostEntries = 1000000;

constexpr double nmPerMetre = 0.0005399568034557236;
constexpr double feetPerMetreRounded = 3.2808399; ///< to the digit, since stand lists are compared with older ones
constexpr double lonStep = 4.470348358154297e-7, latStep = 3.3527612686157227e-7;

struct Position {
    double lat = 0, lon = 0;
    bool operator<(const Position& other) const { return std::pair(lat, lon) < std::pair(other.lat, other.lon); }
    std::string text() const { return fmt::format("{:.6f},{:.6f}", lat, lon); }
    /// On the earth, and not the place where a forgotten position lies.
    bool isUsable() const {
        if (!(lat >= -90 && lat <= 90 && lon >= -180 && lon <= 180))
            return false;
        return !(lat >= 0 && lat <= 0.0009 && lon >= 0 && lon <= 0.05);
    }
};

Position positionAt(const ByteReader& bytes, std::size_t lonAt) {
    return {90.0 - bytes.u32(lonAt + 4) * latStep, bytes.u32(lonAt) * lonStep - 180.0};
}

/// The text before the number of a parking position.
std::string nameText(std::uint32_t code) {
    constexpr std::array<const char*, 12> names{"", "r", "p", "np", "ep", "sep", "sp", "swp", "wp", "nwp", "g", ""};
    return code < names.size() ? names[code] : std::string(1, static_cast<char>(code + 53));
}

/// An identifier without the flags below it.
std::string identifierText(std::uint32_t value, bool& ok) {
    constexpr std::uint32_t base = 38;
    ok = true;
    std::string text;
    for (; value != 0; value /= base) {
        const std::uint32_t digit = value % base;
        ok = ok && digit != 0;
        text += static_cast<char>(digit == 0 ? ' ' : digit + (digit >= 2 && digit <= 11 ? 46 : 53));
    }
    std::ranges::reverse(text);
    ok = ok && text.size() == 4;
    return text;
}

struct ParkingUse {
    bool skipped = false, ramp = false, cargo = false;
};
ParkingUse useOf(std::uint32_t type) {
    switch (type) {
    case 0: // none
    case 12:
    case 13: // fuel, vehicles
        return {true, false, false};
    case 5:
        return {false, true, true};
    case 8:
    case 9:
    case 10:
    case 11:
    case 15:
        return {};
    default:
        return {false, true, false};
    }
}

/// The ids "A5", "A5a" to "A5f" that stands may get that are all called A5.
constexpr std::string_view doubledLetters = "abcdef";

struct Ids {
    std::unordered_set<std::string> seen;
    bool doubled = false;
};

/// One file. Records begin at whole words; places are counted in them.
class Reader {
public:
    Reader(ByteReader bytes, const std::string& path, bool msfs2024, BglContent& content)
        : bytes_(bytes), path_(path), msfs2024_(msfs2024), content_(content), words_(bytes.size() / wordSize),
          stepsLeft_(words_ * stepsPerWord + leastSteps) {}

    void read() {
        if (words_ < leastFile || bytes_.u32(4) != headerSize)
            return;
        const std::uint32_t sections = bytes_.u32(20);
        for (std::uint32_t i = 0; i < sections; ++i) {
            const std::size_t entry = headerSize + std::size_t{i} * sectionSize;
            step();
            if (bytes_.u32(entry) != airportSection || (bytes_.u32(entry + 4) & longSubsections) != 0)
                continue;
            const std::size_t subsection = bytes_.u32(entry + 12) / wordSize * wordSize;
            if (!walk(bytes_.u32(subsection + 8) / wordSize))
                return;
        }
    }

private:
    /// From the first record on, also beyond the section. False when nothing more of the file is to be read.
    bool walk(std::size_t word) {
        while (word < words_) {
            step();
            const std::uint16_t type = typeAt(word);
            if (!content_.firstRecordType)
                content_.firstRecordType = type;
            if (type == newAirportRecord) {
                noteNewForm(word);
                if (msfs2024_) {
                    content_.notRecognised = true;
                    return false;
                }
            }
            const std::size_t size = wordsAt(word);
            if (type == airportRecord) {
                bool ok = false;
                std::string code = lf_decodeIdentifierOrRegionCode(bytes_.u32(word * wordSize + 40), ok);
                if (ok)
                    readAirportRecord(word, size, std::move(code));
                else if (content_.passedOver.size() < mostAirports)
                    content_.passedOver.push_back(std::move(code));
            }
            if (size == 0)
                break;
            word += size;
        }
        return true;
    }

    void noteNewForm(std::size_t word) {
        const std::size_t at = word * wordSize + 76;
        bool ignored = false;
        if (at + wordSize <= bytes_.size() && content_.newFormIdents.size() < mostAirports)
            content_.newFormIdents.push_back(identifierText(bytes_.u32(at) >> 6, ignored));
    }

    void readAirportRecord(std::size_t word, std::size_t size, std::string code) {
        constexpr std::size_t firstSubRecord = 68 / wordSize;
        if (content_.airports.size() == mostAirports)
            throw std::length_error(fmt::format("more than {} airports", mostAirports));
        ScanAirport& airport = content_.airports.emplace_back();
        airport.file.icao = std::move(code);
        const double feet = std::round(bytes_.i32(word * wordSize + 20) * feetPerMetreRounded / 1000.0);
        airport.file.altitude = feet < -20 || feet > 10000 ? 0 : static_cast<std::int32_t>(feet);
        if (const auto name = airportNames.find(airport.file.icao); name != airportNames.end())
            airport.file.airport_name = name->second;
        std::set<Position> helipads;
        for (std::size_t at = word + firstSubRecord; at < word + size;) {
            step();
            const std::uint16_t type = typeAt(at);
            if (type == parkingRecord) {
                Ids ids;
                readParkingRecord(at, airport, ids);
                if (ids.doubled)
                    settleDoubledIds(airport.file.standList);
                break;
            }
            if (type == helipadRecord)
                readHelipad(at, airport, helipads);
            const std::size_t subSize = wordsAt(at);
            if (subSize == 0)
                break;
            at += subSize;
        }
        airport.isWhole = true;
    }

    void readHelipad(std::size_t word, ScanAirport& airport, std::set<Position>& helipads) {
        const ByteReader record = bytes_.from(word * wordSize);
        const Position position = positionAt(record, 12);
        const double radius = record.f32(28) * 0.5;
        if (!position.isUsable()) {
            tell(airport, fmt::format("lat/lon helipad incorrect (skipped): {}", position.text()));
            return;
        }
        if (!helipads.insert(position).second) {
            tell(airport, fmt::format("double helipad {} (skipped) {}", airport.file.airport_name, position.text()));
            return;
        }
        Stand& stand = addStand(airport, position, std::isfinite(radius) ? radius : 0);
        stand.id = fmt::format("helipad{}", ++airport.helipads);
        stand.heli = true;
    }

    void readParkingRecord(std::size_t word, ScanAirport& airport, Ids& ids) {
        constexpr std::size_t first = 8, entrySize = 56, airlineSize = 4;
        std::size_t at = word * wordSize + first;
        const std::uint16_t count = bytes_.u16(word * wordSize + 6);
        for (std::uint16_t i = 0; i < count; ++i) {
            step();
            if (++entries_ > mostEntries)
                throw std::length_error(fmt::format("more than {} parking positions", mostEntries));
            readEntry(bytes_.from(at), airport, ids);
            at += entrySize + airlineSize * bytes_.u8(at + 3);
            ++airport.parkingEntries;
        }
    }

    void readEntry(const ByteReader& entry, ScanAirport& airport, Ids& ids) {
        const float radius = entry.f32(4);
        if (!(radius > 1.0F && radius < 200.0F)) {
            tell(airport, fmt::format("skipped position with radius {:.1F} meters, in {}", radius, path_));
            return;
        }
        const std::uint32_t bits = entry.u32(0);
        std::string id = nameText(bits & 0x3F) + std::to_string((bits >> 12) & 0xFFF);
        const ParkingUse use = useOf((bits >> 8) & 0xF);
        if (use.skipped)
            return;
        const Position position = positionAt(entry, 28);
        if (!position.isUsable()) {
            tell(airport, fmt::format("lat/lon: {}, incorrect (skipped) ", position.text()));
            return;
        }
        bool idDoubled = false;
        if (!ids.seen.insert(id).second) {
            ids.doubled = idDoubled = true;
            const bool found = std::ranges::any_of(doubledLetters, [&](char letter) {
                id.push_back(letter);
                const bool isNew = ids.seen.insert(id).second;
                if (!isNew)
                    id.pop_back();
                return isNew;
            });
            if (!found) {
                tell(airport, fmt::format("{}Warning more then 6 the same ids {}, in {}", "===> ", id, path_));
                return;
            }
        }
        Stand& stand = addStand(airport, position, radius);
        stand.id = std::move(id);
        stand.idDoubled = idDoubled;
        stand.ramp = use.ramp;
        stand.cargo = use.cargo;
        const double degrees = entry.f32(8);
        stand.heading = degrees == 0 || !std::isfinite(degrees) ? 2 * pi : degrees * degToRad;
    }

    /// The letters that the ids got tell the order in the file. In the end the greatest of the stands has the plain id.
    static void settleDoubledIds(std::vector<Stand>& list) {
        std::unordered_map<std::string, std::size_t> places;
        for (std::size_t i = 0; i < list.size(); ++i)
            places.emplace(list[i].id, i);
        for (std::size_t i = 0; i < list.size(); ++i) {
            if (!list[i].idDoubled)
                continue;
            std::vector<std::string> names{list[i].id.substr(0, list[i].id.size() - 1)};
            for (const char letter : doubledLetters)
                names.push_back(names.front() + letter);
            std::vector<Stand*> group;
            for (const std::string& name : names) {
                if (const auto place = places.find(name); place != places.end())
                    group.push_back(&list[place->second]);
            }
            std::ranges::stable_sort(group, std::ranges::greater(), &Stand::radius);
            for (std::size_t n = 0; n < group.size(); ++n) {
                group[n]->id = names[n];
                group[n]->idDoubled = false;
            }
        }
    }

    static Stand& addStand(ScanAirport& airport, Position position, double radiusMetres) {
        if (airport.file.standList.size() == mostStands)
            throw std::length_error(fmt::format("more than {} stands", mostStands));
        Stand& stand = airport.file.standList.emplace_back();
        stand.lat = position.lat;
        stand.lon = position.lon;
        stand.radius = radiusMetres * nmPerMetre;
        return stand;
    }

    void tell(ScanAirport& airport, std::string text) {
        constexpr std::size_t mostMessages = 20000; // of a file; a record may be there again and again
        if (messages_++ < mostMessages)
            airport.messages.push_back(std::move(text));
    }

    std::uint16_t typeAt(std::size_t word) const { return bytes_.u16(word * wordSize); }
    /// Whole words of a record.
    std::size_t wordsAt(std::size_t word) const { return bytes_.u32(word * wordSize + 2) / wordSize; }

    void step() {
        if (stepsLeft_-- == 0)
            throw std::length_error("its records hold each other");
        if ((stepsLeft_ & 0xFFFF) == 0 && stopWanted())
            throw std::runtime_error("closing down");
    }

    const ByteReader bytes_;
    const std::string& path_;
    const bool msfs2024_;
    BglContent& content_;
    const std::size_t words_;
    std::size_t stepsLeft_, entries_ = 0, messages_ = 0;
};

/// `bytes` end at a whole word.
void readWords(ByteReader bytes, const std::string& path, bool msfs2024, BglContent& content) {
    try {
        Reader(bytes, path, msfs2024, content).read();
    } catch (const std::exception& e) {
        content.error = e.what();
    }
}

/// Room for one file after the other, on each thread that reads.
struct Room {
    std::unique_ptr<char[]> bytes;
    std::size_t size = 0;
    char* grow(std::size_t least) {
        if (least > size) {
            bytes.reset();
            bytes.reset(new char[least]);
            size = least;
        }
        return bytes.get();
    }
    void shrink() {
        if (size > roomKept)
            *this = {};
    }
};

std::size_t paddedSize(std::size_t size) {
    return (size + wordSize - 1) / wordSize * wordSize;
}

/// Up to `size` bytes; their number.
std::size_t readUpTo(platform::InputFile& file, char* bytes, std::size_t size) {
    std::size_t done = 0;
    while (done < size && !stopWanted()) {
        const std::int64_t got = file.read(bytes + done, std::min(size - done, readBlock));
        if (got <= 0)
            break;
        done += static_cast<std::size_t>(got);
    }
    return done;
}

} // namespace

bool hasAirportSection(const std::string& path) {
    platform::InputFile file;
    if (file.open(path) != 0 || file.size() < leastFile)
        return false;
    std::array<char, firstRead> block{};
    std::size_t size = readUpTo(file, block.data(), block.size());
    if (size < headerSize)
        return false;
    const std::uint32_t sections = ByteReader(std::string_view(block.data(), size)).u32(20);
    if (sections == 0 || headerSize + std::uint64_t{sections} * sectionSize >= file.size())
        return false;
    std::size_t at = headerSize;
    for (std::uint32_t i = 0; i < sections; ++i) {
        if (at + sectionSize > size) { // the rest of the block begins the next one
            const std::size_t kept = size - at;
            std::copy_n(block.data() + at, kept, block.data());
            size = kept + readUpTo(file, block.data() + kept, block.size() - kept);
            at = 0;
            if (size < sectionSize)
                return false;
        }
        if (ByteReader(std::string_view(block.data(), size)).u32(at) == airportSection)
            return true;
        at += sectionSize;
    }
    return false;
}

BglContent lf_toParkingPositions(const std::string& path, bool msfs2024) {
    static thread_local Room room;
    BglContent content;
    platform::InputFile file;
    if (file.open(path) != 0)
        return content;
    if (file.size() > mostBglBytes) {
        content.error = fmt::format("a file of {} bytes", file.size());
        return content;
    }
    const auto size = static_cast<std::size_t>(file.size());
    char* const bytes = room.grow(paddedSize(size));
    const std::size_t got = readUpTo(file, bytes, size);
    std::fill(bytes + got, bytes + paddedSize(got), '\0');
    readWords(ByteReader(std::string_view(bytes, paddedSize(got))), path, msfs2024, content);
    room.shrink();
    return content;
}

BglContent readBgl(std::string_view bytes, const std::string& path, bool msfs2024) {
    std::string padded(bytes);
    padded.resize(paddedSize(bytes.size()));
    BglContent content;
    readWords(ByteReader(padded), path, msfs2024, content);
    return content;
}

std::string lf_decodeIdentifierOrRegionCode(std::uint32_t word, bool& ok) {
    return identifierText(word >> 5, ok);
}

} // namespace kes

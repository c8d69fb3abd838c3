// SPDX-License-Identifier: MIT
#include "tools/pack/equipment.h"

#include <algorithm>

namespace kes::pack {
namespace {

constexpr EquipmentCode table[] = {
    {"146", "B462"},       {"313", "A310"},       {"31F", "A310", true}, {"31X", "A310", true}, {"31Y", "A310", true},
    {"32A", "A320"},       {"32B", "A321"},       {"32C", "A318"},       {"32D", "A319"},       {"32N", "A20N"},
    {"32Q", "A21N"},       {"32S", "A320"},       {"330", "A333"},       {"33X", "A332", true}, {"340", "A343"},
    {"380", "A388"},       {"737", "B738"},       {"73C", "B733"},       {"73E", "B735"},       {"73F", "B733", true},
    {"73H", "B738"},       {"73J", "B739"},       {"73M", "B732"},       {"73N", "B733"},       {"73P", "B734", true},
    {"73Q", "B734"},       {"73R", "B737"},       {"73W", "B737"},       {"73X", "B732", true}, {"73Y", "B733", true},
    {"747", "B744"},       {"74E", "B744"},       {"74F", "B744", true}, {"74H", "B748"},       {"74M", "B744"},
    {"74N", "B748", true}, {"74X", "B742", true}, {"74Y", "B744", true}, {"757", "B752"},       {"75F", "B752", true},
    {"75T", "B753"},       {"75W", "B752"},       {"767", "B763"},       {"76F", "B763", true}, {"76W", "B763"},
    {"76X", "B762", true}, {"76Y", "B763", true}, {"777", "B772"},       {"77F", "B77L", true}, {"77X", "B77L", true},
    {"787", "B788"},       {"AB4", "A30B"},       {"ABF", "A306", true}, {"ABX", "A30B", true}, {"ABY", "A306", true},
    {"AR8", "RJ85"},       {"ARJ", "RJ85"},       {"AT7", "AT72"},       {"ATR", "AT72"},       {"BE1", "B190"},
    {"BE9", "BE99"},       {"BET", "BE20"},       {"CN2", "C402"},       {"CNA", "C208"},       {"CNC", "C208"},
    {"CNT", "C441"},       {"CRA", "CRJ9"},       {"CRJ", "CRJ2"},       {"D1C", "DC10"},       {"D1F", "DC10", true},
    {"DC9", "DC93"},       {"DH8", "DH8C"},       {"E75", "E75L"},       {"EMJ", "E190"},       {"ERJ", "E145"},
    {"F28", "F28"},        {"IL9", "IL96"},       {"L4T", "L410"},       {"M1F", "MD11", true}, {"M80", "MD82"},
    {"MA6", "MA60"},       {"NDE", "AS50"},       {"SFB", "SF34"},       {"SWM", "SW4"},        {"YN7", "AN24"},
};

static_assert(std::ranges::is_sorted(table, {}, &EquipmentCode::code));

} // namespace

std::span<const EquipmentCode> equipmentCodes() {
    return table;
}

const EquipmentCode* findEquipment(std::string_view code) {
    const EquipmentCode* const found = std::ranges::lower_bound(table, code, {}, &EquipmentCode::code);
    return found != std::end(table) && found->code == code ? found : nullptr;
}

} // namespace kes::pack

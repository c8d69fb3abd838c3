// SPDX-License-Identifier: MIT
// A small reference data base on the update server of the current folder, for tests and benchmarks.
#pragma once

#include "tools/pack/pack.h"

#include <filesystem>
#include <fstream>
#include <map>
#include <stdexcept>
#include <string>

namespace kes::test {

/// Rows of the sources, without their head lines.
struct SmallReference {
    std::string types{};         ///< code,category,span_m
    std::string airlines{};      ///< code,name
    std::string registrations{}; ///< reg,airline,type,operator,cargo
    /// Whole other sources by file name, head line included.
    std::map<std::string, std::string> more{};
};

/// Writes the sources to the folder "reference-sources" and packs them to "updates", so that `readDataBase` reads them.
/// Sections that the program wants filled get a code each that no test uses: XL, XH, XB, XP, XR and Q00. Throws
/// std::runtime_error when a row is bad.
inline void writeSmallReference(const SmallReference& reference) {
    namespace fs = std::filesystem;
    const fs::path folder = "reference-sources";
    fs::remove_all(folder);
    fs::create_directories(folder);
    std::map<std::string, std::string> files = reference.more;
    files["types.csv"] = "code,category,span_m\n" + reference.types +
                         "XL,Large,\nXH,Heavy,\nXB,Buzjets,\nXP,HighPerf,\nXR,Rotorcraft,\n";
    files["airlines.csv"] = "code,name\n" + reference.airlines + "Q00,nobody\n";
    files["registrations.csv"] = "reg,airline,type,operator,cargo\n" + reference.registrations;
    files.try_emplace("cargo_types.csv", "code\nXL\n");
    files.try_emplace("cargo_operators.csv", "code\nQ00\n");
    files.try_emplace("simaddons20.csv", "icao\nQQ00\n");
    for (const auto& [name, text] : files)
        std::ofstream(folder / name, std::ios::binary) << text;
    pack::PackPlan plan;
    plan.data = folder;
    plan.out = "updates";
    const pack::PackCount count = pack::packUpdates(plan);
    if (!count.bad.empty())
        throw std::runtime_error(count.bad[0].file + ": " + count.bad[0].reason);
}

} // namespace kes::test

// SPDX-License-Identifier: MIT
// A folder with sources of every kind, and what the program reads from what is packed of them.
#pragma once

#include "reference/reference.h"
#include "reference/reference_document.h"
#include "support.h"
#include "tools/pack/pack.h"

#include <string_view>

namespace kes::test {

struct PackFolder : ProgramFolder {
    PackFolder() {
        std::filesystem::create_directories("input");
        resetReference();
        source("types.csv",
               "code,category,span_m,name\nA320,Large,34.10,Airbus A320\nA321,Large,34.10,\nB77W,Heavy,64.8,"
               "\nC25A,Buzjets,15.2,\nF16,HighPerf,9.96,\nEC35,Rotorcraft,,\nC172,light,11,\nA1,Light,15,\n");
        source("airlines.csv", "code,name\nDLH,Lufthansa\nBAW,British Airways\nGEC,Lufthansa Cargo\nPVT,private\n");
        source("cargo_types.csv", "code\nB77W\n");
        source("cargo_operators.csv", "code,name\nGEC,Lufthansa Cargo\n");
        source("simaddons20.csv", "icao,remark\nEDDM,\nKJFK,ours\n");
        source("registrations.csv", "reg,airline,type,operator,cargo\nD-AIZA,DLH,A320,,\nD-ALFA,DLH,B77W,GEC,yes\n");
    }
    ~PackFolder() { resetReference(); }

    static void source(const std::filesystem::path& file, std::string_view text) {
        const std::filesystem::path path = std::filesystem::path("data") / file;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << text;
    }
    static pack::PackPlan plan() {
        pack::PackPlan p;
        p.data = "data";
        p.out = "updates";
        return p;
    }
    /// Packs, and reads the result as the program does.
    static pack::PackCount packAndRead(const pack::PackPlan& plan) {
        pack::PackCount count = pack::packUpdates(plan);
        EXPECT_TRUE(readDataBase());
        return count;
    }
    static std::string badText(const pack::PackCount& count) { return text(count.bad); }
    static std::string text(const std::vector<pack::BadRow>& rows) {
        std::string text;
        for (const pack::BadRow& row : rows)
            text += std::filesystem::path(row.file).filename().string() + ":" + std::to_string(row.line) + ": " +
                    row.reason + "\n";
        return text;
    }
};

} // namespace kes::test

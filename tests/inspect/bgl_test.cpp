// SPDX-License-Identifier: MIT
// What the inspecting tool says about scenery files and about folders of them.
#include "airports/addon_link.h"
#include "airports/airport_file.h"
#include "airports/airport_ref.h"
#include "airports/airport_table.h"
#include "airports/bgl_file.h"
#include "core/parameters.h"
#include "reference/reference.h"
#include "reference_text.h"
#include "support.h"
#include "tools/inspect/airport.h"
#include "tools/inspect/bgl.h"
#include "tools/inspect/inspect.h"

#include <nlohmann/json.hpp>

namespace kes::test {
namespace {

struct InspectBgl : testing::Test {
    ProgramFolder program;

    void SetUp() override {
        setParameterDefaults();
        ReferenceText text;
        text.types = {{AircraftCategory::large, {"A320"}}};
        text.publishers = {{"Orbx"}};
        text.thirdParties20 = {{"Orbx", "EGLC7"}};
        text.read();
    }
    void TearDown() override {
        forgetAirportFile();
        setAirportRef(std::nullopt);
        resetAddonAirports();
        resetAirportTable();
        resetReference();
        setParameterDefaults();
    }
    std::string put(const std::string& name, const std::string& bytes) const {
        return program.temporary.write(name, bytes).string();
    }
};

TEST_F(InspectBgl, TellsWhatEachFileHolds) {
    const std::string parking = bglParkings({{12, 5, 8, 0, 20, 0}});
    const std::string good = put("a.bgl", bglFile(bglAirport("EDDF", 100000, bglHelipad(50, 8, 10) + parking) +
                                                  bglAirport("N82", 0, parking) + newFormAirport("EDDN")));
    const std::string none = put("b.bgl", bglFile({{7, 0, ""}}));
    const std::string cut = put("c.bgl", bglFile("EDDF", {{}}).substr(0, 200));
    const auto result = inspect::inspectBgl({good, none, cut, "nowhere.bgl"}, true);
    const auto& first = result[0];
    EXPECT_TRUE(first["has_airport_section"] && first["not_recognised_2024"] && !first.contains("error"));
    EXPECT_EQ(first["first_record_type"], 86);
    EXPECT_EQ(first["passed_over_idents"].dump(), R"(["N82"])");
    EXPECT_EQ(first["new_form_idents_unused"].dump(), R"(["EDDN"])");
    ASSERT_EQ(first["airports"].size(), 1U);
    const auto& airport = first["airports"][0];
    EXPECT_EQ(airport["elevation_ft"], 328);
    EXPECT_EQ(airport["helipads"][0]["id"], "helipad1");
    EXPECT_EQ(airport["parkings"][0]["id"], "A5");
    EXPECT_NEAR(airport["parkings"][0]["heading_deg"].get<double>(), 360, 1e-9);
    EXPECT_NEAR(airport["parkings"][0]["radius_m"].get<double>(), 20, 1e-9);
    EXPECT_FALSE(result[1]["has_airport_section"].get<bool>() || result[1].contains("error"));
    EXPECT_TRUE(result[2].contains("error") && result[2]["broken_airport"] == "EDDF");
    EXPECT_TRUE(result[3].contains("error"));
}

TEST_F(InspectBgl, TellsWhatAScanMakesOfFoldersAndChangesNothing) {
    put("sim/orbx-eglc/a.bgl", bglFile("EGLC", {{}, {12, 6}}));
    put("sim/x/a.bgl", bglFile("EDDF", {{}}));
    nlohmann::ordered_json result;
    {
        const inspect::WorkFolder work((program.folder / "server").string());
        result = inspect::inspectAddons({program.folder / "sim"}, program.folder, false);
    }
    EXPECT_EQ(result["summary"], "2 airports in 2 packages: 1 linked, 1 generated, 0 not recognised");
    ASSERT_EQ(result["airports"].size(), 2U);
    EXPECT_EQ(result["airports"][0]["linked"], "archive/thirdparty/Orbx/EGLC.xml");
    EXPECT_EQ(result["airports"][0]["archived_stands"], 7);
    EXPECT_EQ(result["airports"][1]["publisher"], "unknown");
    EXPECT_EQ(result["airports"][0]["why"], "publisher \"Orbx\" found");
    EXPECT_EQ(result["airports"][1]["why"], "===> No publisher found");
    EXPECT_EQ(result["airports"][1]["generated"], true);
    EXPECT_GT(result["report"].size(), 4U);
    EXPECT_FALSE(std::filesystem::exists("airports") || std::filesystem::exists("output"));
    // Of the form that is not read the name of the file counts, whatever may stand in it.
    put("input/airports_msfs.xml", R"(<airports><airport code="LBBG" iata="" lat="42" lon="27" alt="0"/></airports>)");
    resetAirportTable();
    put("new/LBBG.bgl", bglFile(newFormAirport("EDDN")));
    const inspect::WorkFolder work((program.folder / "server").string());
    result = inspect::inspectAddons({program.folder / "new"}, program.folder, true);
    EXPECT_EQ(result["airports"][0]["icao"], "LBBG");
    EXPECT_EQ(result["airports"][0]["ident_unused"], "EDDN");
}

TEST_F(InspectBgl, DrawsTheStandsOfASceneryFile) {
    put("a.BGL", bglFile(bglAirport("EDDM", 0, "") + bglAirport("EDDF", 100000, bglParkings({{}, {12, 6}}))));
    put("b.bgl", bglFile("EDDF", {}));
    inspect::AirportQuery query;
    query.program = program.folder;
    query.airport = "a.BGL";
    {
        const inspect::WorkFolder work((program.folder / "server").string());
        const auto result = inspect::inspectAirport(query);
        EXPECT_EQ(result["code"], "EDDF");
        EXPECT_EQ(result["altitude"], 328);
        EXPECT_EQ(result["totals"]["stands"], 2);
        EXPECT_FALSE(result.contains("error"));
        EXPECT_NE(inspect::airportPage(result, 1, 1).find("\"A6\""), std::string::npos);
    }
    query.airport = "b.bgl";
    const inspect::WorkFolder work((program.folder / "server").string());
    EXPECT_THROW((void)inspect::inspectAirport(query), std::runtime_error);
}

} // namespace
} // namespace kes::test

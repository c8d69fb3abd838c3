// SPDX-License-Identifier: MIT
// What the inspecting tool says about the stands of an airport.
#include "airports/airport_file.h"
#include "airports/airport_ref.h"
#include "airports/airport_table.h"
#include "core/parameters.h"
#include "support.h"
#include "tools/inspect/airport.h"
#include "tools/inspect/inspect.h"

#include <nlohmann/json.hpp>

namespace kes::test {
namespace {

namespace fs = std::filesystem;

/// A program folder with a generated airport and what was learned of it, and a server with a stock one.
struct InspectAirport : testing::Test {
    ProgramFolder program;

    InspectAirport() {
        setParameterDefaults();
        for (const char* folder : {"airports/my_thirdparty", "airports/learned/thirdparty/Some One",
                                   "airports/learned/stock", "server/MSFS/archive/stock"})
            fs::create_directories(folder);
        put("airports/my_thirdparty/EGLL.xml", "Some One",
            stand("1", "<opt airl=\"BAW\" type=\"A320\" day=\"1\" hh=\"5\"/>"));
        put("airports/learned/thirdparty/Some One/EGLL.xml", "Some One",
            "<parkpos id=\"1\"><opt airl=\"DLH\" type=\"A321\" day=\"2\" hh=\"50,6\"/></parkpos><parkpos id=\"7\"/>");
        put("server/MSFS/archive/stock/LEBL.xml", "stock", stand("&lt;/script>", ""));
        put("airports/learned/stock/LEBL.xml", "stock", "");
        put("bad.xml", "stock", stand("1", "") + stand("1", ""));
    }
    ~InspectAirport() override {
        forgetAirportFile();
        setAirportRef(std::nullopt);
        resetAirportTable();
        setParameterDefaults();
    }
    static void put(const char* file, const char* publisher, const std::string& positions) {
        std::ofstream(file)
            << "<parameters><parameter name=\"altitude\" value=\"83\"/><parameter name=\"publisher\" value=\""
            << publisher << "\"/></parameters><parkpositions>" << positions << "</parkpositions>";
    }
    static std::string stand(const std::string& id, const std::string& options) {
        return "<parkpos id=\"" + id + "\" latitude=\"51.47\" longitude=\"-0.46\" radius=\"20\">" + options +
               "</parkpos>";
    }
    nlohmann::ordered_json look(const std::string& airport) const {
        const inspect::WorkFolder work(server());
        inspect::AirportQuery query;
        query.airport = airport;
        query.program = program.folder;
        return inspect::inspectAirport(query);
    }
    std::string server() const { return (program.folder / "server").string(); }
};

TEST_F(InspectAirport, TellsBothLayersAndWhatTheyMakeTogether) {
    const auto result = look("EGLL");
    EXPECT_FALSE(result.contains("error"));
    EXPECT_EQ(result["base"]["stands"][0]["options"].size(), 1U);
    EXPECT_EQ(result["learned"]["stands"][0]["options"][0]["halfHours"], (std::vector<int>{6}));
    EXPECT_EQ(result["stands"].size(), 1U);
    EXPECT_EQ(result["stands"][0]["options"].size(), 2U);
    EXPECT_EQ(result["stands"][0]["options"][1]["base"], false);
    EXPECT_EQ(result["quality"]["real"], 64);
    ASSERT_EQ(result["warnings"].size(), 2U) << result["log"];
    EXPECT_EQ(result["warnings"][0], "gf_hours2bitset invalid hour \"50\" in 50,6");
    EXPECT_FALSE(fs::exists("airports/learned/thirdparty/Some One/EGLL0.xml")) << "it only looks";
    EXPECT_EQ(par::parking_percentage, 30);
}

TEST_F(InspectAirport, FindsFilesAndTheServersAirports) {
    const auto stock = look("LEBL");
    EXPECT_TRUE(stock["source"].get<std::string>().ends_with("server/MSFS/archive/stock/LEBL.xml"));
    EXPECT_TRUE(stock["learned"].is_object());
    EXPECT_TRUE(stock["warnings"].empty()) << stock["warnings"];
    const std::string page = inspect::airportPage(stock, 3, 20);
    EXPECT_EQ(page.find("\"</script>"), std::string::npos) << "a name does not end the page's data";
    EXPECT_NE(page.find("\"halfHour\":20"), std::string::npos);
    const auto bad = look("bad.xml");
    EXPECT_EQ(bad["error"], "94: Parking position 1 appears more than once?");
    EXPECT_EQ(bad["base"]["stands"].size(), 2U);
    EXPECT_THROW(look("ZZZZ"), std::runtime_error);
}

} // namespace
} // namespace kes::test

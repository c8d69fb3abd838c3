// SPDX-License-Identifier: MIT
// A program folder with the least content that lets a run fly, and lines to fly in it.
#pragma once

#include "airports/airport_table.h"
#include "core/geo.h"
#include "core/parameters.h"
#include "core/xml_file.h"
#include "liveries/store.h"
#include "reference/reference.h"
#include "reference/reference_document.h"
#include "small_reference.h"
#include "support.h"
#include "window_backend.h"
#include "world/replay/virtual_flight.h"

#include <array>
#include <cstdlib>
#include <fmt/format.h>
#include <optional>

namespace kes::test {

inline constexpr double fieldLat = 48.354, fieldLon = 11.786, fieldElevation = 1487;

struct FlightFolder : ProgramFolder {
    explicit FlightFolder(bool realTraffic = true) {
        namespace fs = std::filesystem;
        setenv("XDG_CONFIG_HOME", (folder / "appdata").c_str(), 1);
        fs::create_directories(folder / "docs");
        fs::create_directories(folder / "input");
        fs::create_directories(folder / "output");
        if (realTraffic) {
            fs::create_directories(folder / "appdata" / "InsideSystems");
            std::ofstream(folder / "appdata" / "InsideSystems" / "RealTraffic.jar") << "";
        }
        writeSmallReference({.types = "A320,Large,34.1\nB738,Large,35.8\nB77W,Heavy,64.8\nC172,Light,11.0\n"
                                      "EC35,Rotorcraft,10.2\n",
                             .airlines = "DLH,Lufthansa\nBAW,British Airways\n",
                             .registrations = "D-AIZA,DLH,A320,,\n"});
        std::ofstream(folder / "input/airports_msfs.xml")
            << "<airports><airport code=\"EDDM\" alt=\"1487\" lat=\"48.354\" lon=\"11.786\" iata=\"MUC\"/></airports>";
        writeLiveries({{"DLH", "A320", "Test A320 DLH"},
                       {"BAW", "A320", "Test A320 BAW"},
                       {"ZZZ", "B738", "Test B738 ZZZ"},
                       {"PVT", "C172", "Test C172 PVT"}});
        writeParameters("");
    }
    /// What a start would have read of this folder, with the one airport; default parameters.
    static void readContent() {
        setParameterDefaults();
        readDataBase();
        processScannedLiveries();
        airportTable.clear();
        airportTable.push_back({"EDDM", "MUC", fieldLat, fieldLon, fieldElevation});
    }
    /// Airline, model and title of each livery.
    static void writeLiveries(const std::vector<std::array<const char*, 3>>& liveries) {
        pugi::xml_document document;
        pugi::xml_node root = document.append_child("liveries");
        appendMeta(root);
        for (const auto& [airline, model, title] : liveries) {
            pugi::xml_node liv = root.append_child("liv");
            liv.append_attribute("airl") = airline;
            liv.append_attribute("type") = model;
            liv.append_attribute("title") = title;
        }
        saveXml(document, path::liveriesScanned);
    }
    /// parameters.xml with an install path, no scans, a free control-link port, and `more` elements.
    void writeParameters(const std::string& more) const { writeParameters(more, folder.string()); }
    void writeParameters(const std::string& more, const std::string& installPath) const {
        std::ofstream(parameters)
            << "<parameters><parameter name=\"MSFS_INSTALL_PATH\" value=\"" << installPath << "\"/>"
            << "<parameter name=\"SCAN_LIVERIES\" value=\"false\"/><parameter name=\"SCAN_AIRPORTS\" value=\"false\"/>"
            << "<parameter name=\"PROGRAM_VERSION\" value=\"10.10.9\"/>"
            << "<parameter name=\"PORT_NUMBER\" value=\"0\"/>" << more << "</parameters>";
    }
    /// The value in that file; empty when it has no such parameter.
    std::string stored(std::string_view name) const {
        const std::string text = readFile(parameters), key = fmt::format("name=\"{}\" value=\"", name);
        const std::size_t at = text.find(key);
        return at == std::string::npos
                   ? ""
                   : text.substr(at + key.size(), text.find('"', at + key.size()) - at - key.size());
    }

    const std::filesystem::path parameters = folder / "appdata/Kestrelune/parameters.xml";
};

/// The user hovers at 5000 ft over the field.
inline world::SimulatorOptions overTheField() {
    world::SimulatorOptions o;
    o.lat = fieldLat;
    o.lon = fieldLon;
    o.altFeet = 5000;
    o.terrain.airfields.push_back({fieldLat, fieldLon, fieldElevation});
    return o;
}

/// One aircraft that flies straight; its lines in the present dialect.
struct Straight {
    std::uint32_t hexid = 4000001;
    std::string callsign = "DLH4AB", model = "A320", regcode = "D-AIZA";
    double bearing = 1.0; ///< radians
    double startNm = -5;  ///< along the bearing from the field at time 0
    double knots = 250, alt = 9000, vs = 0;

    std::optional<LatLon> place; ///< where it is instead

    LatLon at(double seconds) const {
        if (place)
            return *place;
        const double nm = startNm + knots * seconds / 3600.0;
        const double course = nm >= 0 ? bearing : bearing + pi;
        return destination({fieldLat, fieldLon}, course, std::abs(nm) * feetPerNm);
    }
    std::string line(double seconds) const {
        const LatLon p = at(seconds);
        return fmt::format(
            "RTTFC,{},{:.5f},{:.5f},{:.0f},{:.0f},{},{:.2f},{:.2f},{},{},{},MUC,LHR,{:.1f},X2,LH4AB,F_adsb_icao,"
            "{:.0f},343,466,0.744,-0.0,0.0,54.49,{:.2f},1280,none,A3,1012.8,{:.0f},-1,54.84,none,0.0,-20.8,"
            "227,19,-15,14,1,{:.0f},0,DLH",
            hexid, p.lat, p.lon, alt, vs, alt > 0 ? 1 : 0, bearing * radToDeg, knots, callsign, model, regcode,
            1700000000.0 + seconds, alt, bearing * radToDeg, alt, alt);
    }
};

/// A run over the field in virtual time, with a window.
struct VirtualRun : testing::Test {
    FlightFolder program;
    TestWindow window;
    world::SimulatorOptions options = overTheField();
    int ticksFlown = 0; ///< since the start
    double now = 0;     ///< the same in seconds

    void SetUp() override {
        program.readContent();
        world::startVirtualFlight(options);
        window.forget();
    }
    void TearDown() override {
        world::endVirtualFlight();
        setParameterDefaults();
    }
    /// Lets `seconds` pass; each aircraft reports every five. `each` runs after each tick.
    void fly(int seconds, const std::vector<Straight>& reporting, const std::function<void()>& each = {}) {
        for (const int end = ticksFlown + seconds * 100; ticksFlown < end;) {
            for (std::size_t n = 0; ticksFlown % 500 == 0 && n < reporting.size(); ++n)
                world::virtualDatagram(reporting[n].line(now));
            ASSERT_TRUE(world::virtualTick());
            now = ++ticksFlown / 100.0;
            if (each)
                each();
        }
    }
};

} // namespace kes::test

// SPDX-License-Identifier: MIT
// What the client puts on the wire, byte for byte.
#include "simconnect/open.h"
#include "simconnect/raw_server.h"

#include <array>
#include <numeric>

namespace kes::simconnect {

namespace {

using Packets = ClientTest;

struct Golden {
    const char* name;
    std::function<HRESULT(HANDLE)> call;
    std::string form;
};

std::array<unsigned char, 64> countedBytes() {
    std::array<unsigned char, 64> data;
    std::iota(data.begin(), data.end(), static_cast<unsigned char>(1));
    return data;
}

} // namespace

TEST_F(Packets, LayoutOfEveryFunction) {
    static const std::array<unsigned char, 64> data = countedBytes();
    static const InitPosition at{1.5, -2.0, 35000.0, 0.5, -0.25, 270.0, 1, static_cast<DWORD>(-1)};
    const std::vector<Golden> calls = {
        {"subscribe", [](HANDLE h) { return SimConnect_SubscribeToSystemEvent(h, 201, "Sim"); },
         "14 01 00 00 04 00 00 00 17 00 00 F0 02 00 00 00 C9 00 00 00 'Sim' 253*00"},
        {"map", [](HANDLE h) { return SimConnect_MapClientEventToSimEvent(h, 219, "GEAR_SET"); },
         "14 01 00 00 04 00 00 00 04 00 00 F0 03 00 00 00 DB 00 00 00 'GEAR_SET' 248*00"},
        {"add to group", [](HANDLE h) { return SimConnect_AddClientEventToNotificationGroup(h, 301, 219, true); },
         "1C 00 00 00 04 00 00 00 07 00 00 F0 04 00 00 00 2D 01 00 00 DB 00 00 00 01 00 00 00"},
        {"priority", [](HANDLE h) { return SimConnect_SetNotificationGroupPriority(h, 301, groupPriorityHighest); },
         "18 00 00 00 04 00 00 00 09 00 00 F0 05 00 00 00 2D 01 00 00 01 00 00 00"},
        {"datum", [](HANDLE h) { return SimConnect_AddToDataDefinition(h, 402, "Plane Latitude", "degree"); },
         "20 02 00 00 04 00 00 00 0C 00 00 F0 06 00 00 00 92 01 00 00 'Plane Latitude' 242*00 'degree' 250*00 "
         "04 00 00 00 00 00 00 00 FF FF FF FF"},
        {"datum without unit",
         [](HANDLE h) {
             return SimConnect_AddToDataDefinition(h, 404, "ATC ID", nullptr, DataType::string32, 0.5F, 7);
         },
         "20 02 00 00 04 00 00 00 0C 00 00 F0 07 00 00 00 94 01 00 00 'ATC ID' 250*00 256*00 "
         "06 00 00 00 00 00 00 3F 07 00 00 00"},
        {"request",
         [](HANDLE h) { return SimConnect_RequestDataOnSimObject(h, 108, 409, objectIdUser, Period::second); },
         "30 00 00 00 04 00 00 00 0E 00 00 F0 08 00 00 00 6C 00 00 00 99 01 00 00 00 00 00 00 04 00 00 00 16*00"},
        {"request, all fields",
         [](HANDLE h) { return SimConnect_RequestDataOnSimObject(h, 1, 2, 3, Period::simFrame, 5, 6, 7, 8); },
         "30 00 00 00 04 00 00 00 0E 00 00 F0 09 00 00 00 01 00 00 00 02 00 00 00 03 00 00 00 03 00 00 00 "
         "05 00 00 00 06 00 00 00 07 00 00 00 08 00 00 00"},
        {"request by type",
         [](HANDLE h) { return SimConnect_RequestDataOnSimObjectType(h, 101, 404, 150000, SimObjectType::aircraft); },
         "20 00 00 00 04 00 00 00 0F 00 00 F0 0A 00 00 00 65 00 00 00 94 01 00 00 F0 49 02 00 02 00 00 00"},
        {"set data", [](HANDLE h) { return SimConnect_SetDataOnSimObject(h, 402, 77, 0, 0, 64, data.data()); },
         "64 00 00 00 04 00 00 00 10 00 00 F0 0B 00 00 00 92 01 00 00 4D 00 00 00 00 00 00 00 01 00 00 00 "
         "40 00 00 00 '" +
             std::string(data.begin(), data.begin() + 38) + "' 27 '" + std::string(data.begin() + 39, data.end()) +
             "'"},
        {"set data, three elements",
         [](HANDLE h) { return SimConnect_SetDataOnSimObject(h, 402, 77, 1, 3, 2, data.data()); },
         "2A 00 00 00 04 00 00 00 10 00 00 F0 0C 00 00 00 92 01 00 00 4D 00 00 00 01 00 00 00 03 00 00 00 "
         "02 00 00 00 01 02 03 04 05 06"},
        {"transmit", [](HANDLE h) { return SimConnect_TransmitClientEvent(h, 77, 214, 1, 301, eventFlagDefault); },
         "24 00 00 00 04 00 00 00 05 00 00 F0 0D 00 00 00 4D 00 00 00 D6 00 00 00 01 00 00 00 2D 01 00 00 00 00 00 00"},
        {"create", [](HANDLE h) { return SimConnect_AICreateNonATCAircraft(h, "A320", "DLH1AB", at, 104); },
         "58 01 00 00 04 00 00 00 29 00 00 F0 0E 00 00 00 'A320' 252*00 'DLH1AB' 6*00 "
         "00 00 00 00 00 00 F8 3F 00 00 00 00 00 00 00 C0 00 00 00 00 00 17 E1 40 00 00 00 00 00 00 E0 3F "
         "00 00 00 00 00 00 D0 BF 00 00 00 00 00 E0 70 40 01 00 00 00 FF FF FF FF 68 00 00 00"},
        {"release", [](HANDLE h) { return SimConnect_AIReleaseControl(h, 77, 103); },
         "18 00 00 00 04 00 00 00 2B 00 00 F0 0F 00 00 00 4D 00 00 00 67 00 00 00"},
        {"remove", [](HANDLE h) { return SimConnect_AIRemoveObject(h, 77, 105); },
         "18 00 00 00 04 00 00 00 2C 00 00 F0 10 00 00 00 4D 00 00 00 69 00 00 00"},
        {"flight plan", [](HANDLE h) { return SimConnect_AISetAircraftFlightPlan(h, 77, "x/EDDF.pln", 9); },
         "1C 01 00 00 04 00 00 00 2D 00 00 F0 11 00 00 00 4D 00 00 00 'x/EDDF.pln' 250*00 09 00 00 00"},
    };
    connect();
    EXPECT_EQ(peer.packet(),
              bytesOf("28 01 00 00 04 00 00 00 01 00 00 F0 01 00 00 00 'Kestrelune' 246*00 00 00 00 00 00 "
                      "58 53 46 0A 00 00 00 00 00 00 00 4B EF 00 00 00 00 00 00"));
    DWORD sendId = 1;
    for (const Golden& golden : calls) {
        EXPECT_EQ(golden.call(client), S_OK) << golden.name;
        EXPECT_EQ(peer.packet(), bytesOf(golden.form)) << golden.name;
        DWORD last = 0;
        EXPECT_EQ(SimConnect_GetLastSentPacketID(client, &last), S_OK);
        EXPECT_EQ(last, ++sendId) << golden.name;
    }
}

TEST_F(Packets, TextsAreCutToTheirFields) {
    connect();
    EXPECT_EQ(peer.packet().size(), 296U);
    const std::string longText = run(600, 'x');
    const struct {
        const char* name;
        HRESULT result;
        std::size_t size, offset, field;
    } cases[] = {
        {"event name", SimConnect_SubscribeToSystemEvent(client, 1, longText.c_str()), 276, 20, 256},
        {"client event", SimConnect_MapClientEventToSimEvent(client, 1, longText.c_str()), 276, 20, 256},
        {"datum", SimConnect_AddToDataDefinition(client, 1, longText.c_str(), "u"), 544, 20, 256},
        {"unit", SimConnect_AddToDataDefinition(client, 1, "d", longText.c_str()), 544, 276, 256},
        {"title", SimConnect_AICreateNonATCAircraft(client, longText.c_str(), "", {}, 1), 344, 16, 256},
        {"title that fits", SimConnect_AICreateNonATCAircraft(client, run(255, 'x').c_str(), "", {}, 1), 344, 16, 256},
        {"title as long as its field", SimConnect_AICreateNonATCAircraft(client, run(256, 'x').c_str(), "", {}, 1), 344,
         16, 256},
        {"tail number", SimConnect_AICreateNonATCAircraft(client, "", "xxxxxxxxxxxxxxxx", {}, 1), 344, 272, 12},
        {"path", SimConnect_AISetAircraftFlightPlan(client, 1, longText.c_str(), 1), 284, 20, 260},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.result, S_OK) << c.name;
        const std::string packet = peer.packet();
        ASSERT_EQ(packet.size(), c.size) << c.name;
        EXPECT_EQ(packet.substr(c.offset, c.field), run(c.field - 1, 'x') + '\0') << c.name;
    }
}

TEST_F(Packets, RefusedArgumentsCostNoSendId) {
    connect();
    std::vector<char> large(70000);
    DWORD id = 0;
    EXPECT_EQ(SimConnect_SetDataOnSimObject(client, 1, 2, 0, 1, 70000, large.data()), E_INVALIDARG);
    EXPECT_EQ(SimConnect_SetDataOnSimObject(client, 1, 2, 0, 0x10000, 0x10000, large.data()), E_INVALIDARG);
    EXPECT_EQ(SimConnect_SetDataOnSimObject(client, 1, 2, 0, 1, 65530, large.data()), E_INVALIDARG);
    EXPECT_EQ(SimConnect_SetDataOnSimObject(client, 1, 2, 0, 1, 8, nullptr), E_INVALIDARG);
    EXPECT_EQ(SimConnect_CallDispatch(client, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(SimConnect_GetLastSentPacketID(client, nullptr), E_INVALIDARG);
    EXPECT_EQ(SimConnect_GetLastSentPacketID(client, &id), S_OK);
    EXPECT_EQ(id, 1U);
    EXPECT_EQ(SimConnect_AIRemoveObject(nullptr, 1, 2), E_FAIL);
    EXPECT_EQ(SimConnect_CallDispatch(nullptr, Seen::handler, &seen), E_FAIL);
    EXPECT_EQ(SimConnect_Close(nullptr), E_FAIL);
}

TEST_F(Packets, OpenTellsWhyItFailed) {
    EXPECT_EQ(SimConnect_Open(nullptr, "Kestrelune"), E_INVALIDARG);
    EXPECT_EQ(SimConnect_Open(&client, "Kestrelune", 3), E_INVALIDARG);
    EXPECT_EQ(client, nullptr);
    listener.close();
    EXPECT_EQ(SimConnect_Open(&client, "Kestrelune"), E_FAIL);
    EXPECT_EQ(client, nullptr);
    writeConfig("[SimConnect]\nProtocol=Pipe\n");
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(SimConnect_Open(&client, "Kestrelune"), E_FAIL);
    EXPECT_EQ(program.logCount("protocol Pipe is not available"), 1U);
    const struct {
        const char *file, *doubt;
    } rows[] = {
        {"[SimConnect]\nProtocol=Pipe\n", "Its protocol Pipe is not available, use IPv4."},
        {"[SimConnect]\nPort=1x\n", "In it \"Port=1x\" is not understood and left out."},
        {"Port=1\n", "It has no section [SimConnect]."},
    };
    for (const auto& row : rows) {
        writeConfig(row.file);
        OpenTry attempt;
        EXPECT_TRUE(failed(openSimulator(client, "Kestrelune", 0, attempt)));
        EXPECT_EQ(attempt.file, "SimConnect.cfg");
        EXPECT_EQ(attempt.doubt, row.doubt);
    }
}

} // namespace kes::simconnect

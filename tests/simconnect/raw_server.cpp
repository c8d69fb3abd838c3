// SPDX-License-Identifier: MIT
#include "simconnect/raw_server.h"

#include "simconnect/connection.h"

#include <cstring>
#include <utility>

namespace kes::simconnect {

namespace {
constexpr int patienceMs = 10000;
}

std::string bytesOf(const std::string& form) {
    std::string bytes;
    for (std::size_t at = 0; at < form.size();) {
        if (form[at] == ' ') {
            ++at;
        } else if (form[at] == '\'') {
            const std::size_t end = form.find('\'', at + 1);
            bytes += form.substr(at + 1, end - at - 1);
            at = end + 1;
        } else {
            const std::size_t end = std::min(form.find(' ', at), form.size());
            const std::string token = form.substr(at, end - at);
            if (const std::size_t star = token.find('*'); star != std::string::npos)
                bytes.append(std::stoul(token.substr(0, star)), '\0');
            else
                bytes += static_cast<char>(std::stoul(token, nullptr, 16));
            at = end;
        }
    }
    return bytes;
}

std::uint32_t wordAt(const std::string& bytes, std::size_t offset) {
    std::uint32_t word = 0;
    if (offset + sizeof word <= bytes.size())
        std::memcpy(&word, bytes.data() + offset, sizeof word);
    else
        ADD_FAILURE() << "no word at " << offset << " of " << bytes.size() << " bytes";
    return word;
}

std::string message(std::uint32_t kind, std::initializer_list<std::uint32_t> words, std::size_t size) {
    std::vector<std::uint32_t> all{0, 4, kind};
    all.insert(all.end(), words);
    std::string bytes(reinterpret_cast<const char*>(all.data()), all.size() * 4);
    if (size != 0)
        bytes.resize(size);
    const auto length = static_cast<std::uint32_t>(bytes.size());
    std::memcpy(bytes.data(), &length, std::min<std::size_t>(bytes.size(), 4));
    return bytes;
}

std::string openMessage(const std::string& name) {
    std::string bytes = message(2, {}, 308);
    bytes.replace(12, name.size(), name);
    return bytes;
}

void Peer::send(const std::string& bytes) {
    EXPECT_EQ(socket.sendAll(bytes, patienceMs).bytes, static_cast<std::ptrdiff_t>(bytes.size()));
}

std::string Peer::read(std::size_t count) {
    std::string bytes(count, '\0');
    std::size_t done = 0;
    while (done < count) {
        const platform::IoResult result = socket.receive({bytes.data() + done, count - done}, patienceMs);
        if (result.bytes <= 0)
            break;
        done += static_cast<std::size_t>(result.bytes);
    }
    bytes.resize(done);
    return bytes;
}

std::string Peer::packet() {
    std::string bytes = read(4);
    if (bytes.size() < 4)
        return {};
    return bytes + read(wordAt(bytes, 0) - 4);
}

bool Peer::endsCleanly() {
    char byte = 0;
    return socket.receive({&byte, 1}, patienceMs).bytes == 0;
}

void Seen::handler(const Recv* pData, DWORD cbData, void* pContext) {
    auto& seen = *static_cast<Seen*>(pContext);
    EXPECT_EQ(cbData, pData->dwSize);
    seen.messages.emplace_back(reinterpret_cast<const char*>(pData), cbData);
    if (seen.onMessage)
        seen.onMessage(*pData);
}

std::size_t Seen::count(RecvId kind) const {
    std::size_t found = 0;
    for (const std::string& text : messages)
        found += wordAt(text, 8) == static_cast<std::uint32_t>(kind);
    return found;
}

void ClientTest::SetUp() {
    setUserDataFolder(folder / "user");
    ASSERT_EQ(platform::startSockets(), 0);
    const char* step = "";
    ASSERT_EQ(listener.listenTcp("0", step), 0) << step;
    port = listener.localPort();
    writeConfig("[SimConnect]\nProtocol=IPv4\nAddress=127.0.0.1\nPort=" + std::to_string(port) + "\n");
}

void ClientTest::TearDown() {
    if (client != nullptr)
        SimConnect_Close(client);
    peer.socket.close();
    listener.close();
    platform::endSockets();
}

void ClientTest::writeConfig(const std::string& text) const {
    std::ofstream(folder / "SimConnect.cfg", std::ios::binary) << text;
}

void ClientTest::connect() {
    if (client != nullptr)
        SimConnect_Close(std::exchange(client, nullptr));
    seen.messages.clear();
    HRESULT result = E_FAIL;
    OpenTry attempt;
    std::unique_ptr<Transport> transport = openTransport(0, result, attempt);
    ASSERT_EQ(result, S_OK);
    const Reach again = [](DWORD index, HRESULT& outcome) {
        OpenTry next;
        return openTransport(index, outcome, next);
    };
    ASSERT_EQ(connectWith(client, std::move(transport), "Kestrelune", 0, again), S_OK);
    peer = accept();
}

Peer ClientTest::accept() {
    Peer fresh;
    EXPECT_EQ(listener.accept(fresh.socket, patienceMs).bytes, 0);
    fresh.socket.setNoDelay();
    return fresh;
}

bool ClientTest::dispatchUntil(const std::function<bool()>& done) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(patienceMs);
    while (!done()) {
        lastResult = SimConnect_CallDispatch(client, Seen::handler, &seen);
        if (failed(lastResult))
            return done();
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::yield();
    }
    return true;
}

bool ClientTest::dispatchUntilEnd() {
    dispatchUntil([] { return false; });
    return lastResult == E_FAIL;
}

} // namespace kes::simconnect

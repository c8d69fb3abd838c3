// SPDX-License-Identifier: MIT
// One file from a server that is right, wrong, slow, dead or sly.
#include "pipe_guard.h"
#include "update_folder.h"

#include <openssl/evp.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

namespace kes::test {
namespace {

namespace fs = std::filesystem;
using Download = UpdateFolder;

TEST_F(Download, GivesTheWholeFileAndSaysWhoAsks) {
    std::string body;
    for (int i = 0; i < 300000; ++i)
        body += static_cast<char>(i * 31);
    server.put("a file.bin", {body});
    server.put("a%20file.bin", {body});
    server.put("empty", {""});
    EXPECT_TRUE(downloadToFile(curl, server.base() + "a%20file.bin", "got", true));
    EXPECT_EQ(readFile("got"), body);
    EXPECT_TRUE(downloadToFile(curl, server.base() + "empty", "got", false)) << "one handle, several files";
    EXPECT_EQ(readFile("got"), "");
    EXPECT_EQ(server.asked(), (std::vector<std::string>{"/a%20file.bin KLUN", "/empty KLUN"}));
    EXPECT_EQ(leftovers(), "got ");
}

TEST_F(Download, NeverReplacesAGoodFileByHalfAOne) {
    server.put("missing", {"sorry", 404});
    server.put("broken", {"sorry", 500});
    server.put("cut", {"half of it", 200, "", 1000});
    server.put("stalls", {"half of it", 200, "", 1000, 0, 0, true});
    server.put("loop", {"", 302, "/loop"});
    server.put("sly", {"", 302, "file:///etc/hostname"});
    for (const char* name : {"missing", "broken", "cut", "stalls", "loop", "sly"}) {
        std::ofstream("old", std::ios::binary) << "good";
        EXPECT_FALSE(downloadToFile(curl, server.base() + name, "old", true)) << name;
        EXPECT_EQ(readFile("old"), "good") << name;
        EXPECT_FALSE(downloadToFile(curl, server.base() + name, fmt::format("new-{}", name), true)) << name;
        EXPECT_TRUE(fs::is_empty(fmt::format("new-{}", name))) << name;
    }
    EXPECT_EQ(leftovers().find(".part"), std::string::npos);
}

TEST_F(Download, WaitsForASlowServerAndFollowsAMovedOne) {
    server.put("slow", {std::string(4000, 's'), 200, "", 0, 400, 150}); // longer than the limit for a stall, but alive
    server.put("moved", {"", 301, "/elsewhere"});
    server.put("elsewhere", {"found"});
    EXPECT_TRUE(downloadToFile(curl, server.base() + "slow", "slow", true));
    EXPECT_EQ(fs::file_size("slow"), 4000u);
    EXPECT_TRUE(downloadToFile(curl, server.base() + "moved", "moved", true));
    EXPECT_EQ(readFile("moved"), "found");
}

TEST_F(Download, TellsWhatCannotBeWrittenOrReached) {
    fs::create_directories("folder");
    EXPECT_FALSE(downloadToFile(curl, server.base() + "x", "folder", true));
    EXPECT_TRUE(program.logHas("could not open output file: folder\n"));
    EXPECT_FALSE(downloadToFile(curl, server.base() + "x", "nowhere/file", true));
    EXPECT_TRUE(program.logHas("could not open output file: nowhere/file\n"));
    EXPECT_FALSE(downloadToFile(curl, "http://127.0.0.1:1/x", "file", true));
    EXPECT_FALSE(downloadToFile(curl, "gopher://127.0.0.1/x", "file", true));
    EXPECT_FALSE(downloadToFile(nullptr, server.base() + "x", "file", true));
    EXPECT_TRUE(server.asked().empty());
}

TEST_F(Download, EndsWhenTheRunIsClosed) {
    // Only the close ends it before the limits do, and then the log says so.
    downloadLimits.stallSeconds = downloadLimits.totalSeconds = 10;
    server.put("stalls", {"half of it", 200, "", 1000, 0, 0, true});
    std::thread closer([&] {
        EXPECT_TRUE(waitFor([&] { return !server.asked().empty(); }));
        userClosed = true;
    });
    EXPECT_FALSE(downloadToFile(curl, server.base() + "stalls", "file", true));
    closer.join();
    EXPECT_TRUE(program.logHas(curl_easy_strerror(CURLE_ABORTED_BY_CALLBACK))) << program.logText();
}

TEST_F(Download, TakesNoMoreThanItsLimits) {
    server.put("told", {"x", 200, "", (256U << 20) + 1, 0, 0, true});
    EXPECT_FALSE(downloadToFile(curl, server.base() + "told", "file", true));
    EXPECT_EQ(program.logCount(curl_easy_strerror(CURLE_FILESIZE_EXCEEDED)), 1u) << program.logText();
    server.put("just", {"x", 200, "", 256U << 20, 0, 0, true});
    EXPECT_FALSE(downloadToFile(curl, server.base() + "just", "file", true));
    EXPECT_EQ(program.logCount(curl_easy_strerror(CURLE_FILESIZE_EXCEEDED)), 1u) << "only stalls";

    downloadLimits.mostBytes = 1000;
    useFolder();
    for (const std::size_t size : {1000, 1001}) {
        offer("big", std::string(size, 'b'));
        server.put("untold", {std::string(size, 'b'), 200, "", 0, 0, 0, false, false});
        for (const std::string& base : {server.base() + "untold", downloadBase() + "big"})
            EXPECT_EQ(downloadToFile(curl, base, "file", true), size == 1000) << base;
    }
    EXPECT_EQ(program.logCount(curl_easy_strerror(CURLE_FILESIZE_EXCEEDED)), 3u) << program.logText();

    std::string head;
    for (int i = 0; i < 40; ++i)
        head += "X-Line: " + std::string(50'000, 'h') + "\r\n";
    server.put("head", {"x", 200, "", 0, 0, 0, false, true, head});
    EXPECT_FALSE(downloadToFile(curl, server.base() + "head", "file", true)) << "the library has a limit of its own";

    downloadLimits.totalSeconds = 1;
    downloadLimits.stallBytes = 1;
    server.put("drips", {std::string(400, 'd'), 200, "", 0, 1, 10});
    EXPECT_FALSE(downloadToFile(curl, server.base() + "drips", "file", true));
    EXPECT_TRUE(program.logHas("drips: " + std::string(curl_easy_strerror(CURLE_OPERATION_TIMEDOUT))));
}

TEST_F(Download, WaitsForNoPipe) {
    useFolder();
    fs::create_directories("served/folder");
    const PipeGuard source("served/pipe"), part("file.part");
    EXPECT_FALSE(downloadToFile(curl, downloadBase() + "pipe", "other", true));
    EXPECT_TRUE(program.logHas("pipe: not a regular file\n"));
    EXPECT_FALSE(downloadToFile(curl, downloadBase() + "folder", "other", true));
    EXPECT_TRUE(program.logHas("folder: Is a directory\n"));
    offer("good", "good");
    EXPECT_TRUE(downloadToFile(curl, downloadBase() + "good", "file", true));
    fs::remove(path::updateServer);
    const PipeGuard line(path::updateServer);
    EXPECT_TRUE(downloadBase().ends_with("/updates/"));
    EXPECT_TRUE(program.logHas("input/update_server.txt cannot be read: not a regular file\n"));
}

TEST_F(Download, ReadsTheBaseAsPeopleWriteIt) {
    const std::string here = "file://" + fs::current_path().string();
    const std::vector<std::pair<std::string, std::string>> table{
        {"https://example.org/downloads", "https://example.org/downloads/"},
        {"HTTPS://example.org/x", "HTTPS://example.org/x/"},
        {"\xEF\xBB\xBFhttp://a/b/ \r\nsecond line", "http://a/b/"},
        {"", here + "/updates/"},
        {"my updates/x", here + "/my%20updates/x/"},
        {"/srv/up#1", "file:///srv/up%231/"}};
    for (const auto& [line, wanted] : table) {
        useBase(line);
        EXPECT_EQ(downloadBase(), wanted) << line;
    }
    fs::remove(path::updateServer);
    EXPECT_EQ(downloadBase(), here + "/updates/");
    par::MSFS_2020.value = false;
    EXPECT_EQ(airportsBaseUrl(false), here + "/updates/MSFS2024/");
    EXPECT_EQ(airportsBaseUrl(true), here + "/updates/MSFS/");
    putFile("my updates/f", "local");
    useBase("my updates");
    EXPECT_TRUE(downloadToFile(curl, downloadBase() + "f", "f", true));
    EXPECT_EQ(readFile("f"), "local");
}

/// Speaks TLS with a certificate that nobody has signed but itself.
struct TlsServer {
    TlsServer() {
        key = EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", static_cast<std::size_t>(2048));
        certificate = X509_new();
        ASN1_INTEGER_set(X509_get_serialNumber(certificate), 1);
        X509_gmtime_adj(X509_getm_notBefore(certificate), -60);
        X509_gmtime_adj(X509_getm_notAfter(certificate), 3600);
        X509_set_pubkey(certificate, key);
        X509_NAME* const name = X509_get_subject_name(certificate);
        X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>("127.0.0.1"), -1,
                                   -1, 0);
        X509_set_issuer_name(certificate, name);
        X509_sign(certificate, key, EVP_sha256());
        context = SSL_CTX_new(TLS_server_method());
        SSL_CTX_use_certificate(context, certificate);
        SSL_CTX_use_PrivateKey(context, key);
        listener = BIO_new_accept("127.0.0.1:0");
        EXPECT_EQ(BIO_do_accept(listener), 1) << "the first call only binds";
        port = BIO_get_accept_port(listener);
        thread = std::thread([this] {
            BIO_do_accept(listener);
            ++connections;
            BIO* const client = BIO_pop(listener);
            SSL* const session = SSL_new(context);
            SSL_set_bio(session, client, client);
            char request[2048];
            if (SSL_accept(session) == 1 && SSL_read(session, request, sizeof request) > 0) {
                ++requests;
                constexpr std::string_view answer = "HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nevil";
                SSL_write(session, answer.data(), static_cast<int>(answer.size()));
            }
            SSL_free(session);
        });
    }
    ~TlsServer() {
        platform::Socket last; // if nobody came, the thread still waits
        last.connectTcp("127.0.0.1", port, 1000);
        thread.join();
        BIO_free_all(listener);
        SSL_CTX_free(context);
        X509_free(certificate);
        EVP_PKEY_free(key);
    }
    EVP_PKEY* key;
    X509* certificate;
    SSL_CTX* context;
    BIO* listener;
    std::string port;
    std::atomic<int> connections{0}, requests{0};
    std::thread thread;
};

TEST_F(Download, RefusesACertificateThatNobodyTrusts) {
    TlsServer tls;
    EXPECT_FALSE(downloadToFile(curl, fmt::format("https://127.0.0.1:{}/dbase.zip", tls.port), "file", true));
    EXPECT_TRUE(waitFor([&] { return tls.connections > 0; }));
    EXPECT_EQ(tls.requests, 0) << "not even the request goes out";
    EXPECT_TRUE(fs::is_empty("file"));
}

} // namespace
} // namespace kes::test

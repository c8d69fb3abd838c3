// SPDX-License-Identifier: MIT
// The key: the stored form keeps to its rules whatever the offsets are.
#include "files.h"
#include "reference/scramble.h"

namespace kes {
namespace {

constexpr char lowest = '-', highest = 'Z';

char next(char c) {
    return c == highest ? lowest : static_cast<char>(c + 1);
}

// Which stored position each character comes from; the offsets themselves may be any.
TEST(Scramble, EachCharacterComesFromItsOwnPlace) {
    struct Form {
        const char* what;
        std::string (*decrypt)(std::string_view);
        std::string stored;
        std::vector<int> from; ///< stored position of each decoded character
    };
    const Form forms[] = {
        {"airline", decryptAirline, "KKKKKK", {3, 4, 1}},   {"model of 3", decryptModel, "KKK", {1, 2, 0}},
        {"model of 4", decryptModel, "KKKK", {2, 3, 1, 0}}, {"model of 2", decryptModel, "KK", {1, 0}},
        {"model of 7", decryptModel, "KKKKKKK", {1, 0}},    {"regcode", decryptRegcode, "KKKK", {0, 1, 2, 3}},
    };
    for (const Form& form : forms) {
        const std::string before = form.decrypt(form.stored);
        ASSERT_EQ(before.size(), form.from.size()) << form.what;
        for (std::size_t at = 0; at < form.stored.size(); ++at) {
            std::string stored = form.stored;
            // One step of the stored character is one step of the decoded one, round the whole alphabet.
            for (int step = 0; step < highest - lowest + 1; ++step) {
                const std::string decoded = form.decrypt(stored);
                stored[at] = next(stored[at]);
                const std::string after = form.decrypt(stored);
                for (std::size_t i = 0; i < after.size(); ++i) {
                    const bool moved = form.from[i] == static_cast<int>(at);
                    EXPECT_EQ(after[i], moved ? next(decoded[i]) : decoded[i]) << form.what << " stored " << stored;
                }
            }
        }
    }
}

TEST(Scramble, WhatDecodersRefuse) {
    test::ProgramFolder folder;
    const auto failure = [](std::string (*decrypt)(std::string_view), const std::string& stored) {
        return test::thrownBy([&] { decrypt(stored); });
    };
    EXPECT_EQ(failure(decryptAirline, "AB"), "decrypt airl \"AB\" error");
    EXPECT_EQ(failure(decryptAirline, "ABCDEFG"), "decrypt airl \"ABCDEFG\" error");
    EXPECT_EQ(failure(decryptModel, "A"), "decrypt model \"A\" error");
    EXPECT_EQ(failure(decryptRegcode, std::string(24, '+') + "A"),
              "decrypt regcode \"++++++++++++++++++++++++A\" error");
    EXPECT_EQ(folder.logText().find("Unencrypted"), std::string::npos);
    EXPECT_EQ(decryptAirline("KLM"), "KLM");
    EXPECT_TRUE(folder.logHas("Unencrypted airline KLM in decrypt airl?\n"));
}

} // namespace
} // namespace kes

// SPDX-License-Identifier: MIT
#include "core/version.h"

#include <gtest/gtest.h>

namespace kes {
namespace {

TEST(Version, ParsesWhatIsThereAndCompares) {
    const struct {
        const char* text;
        Version version;
    } cases[] = {{"10.10.9", {10, 10, 9}},
                 {"1.2", {1, 2, 0}},
                 {"", {}},
                 {"x.1.2", {}},
                 {"3.x.2", {3, 0, 0}},
                 {"4.5.6.7", {4, 5, 6}},
                 {"7.8.9b", {7, 8, 9}},
                 {"1.99999999999.2", {1, 0, 0}},
                 {"1.-2.3", {1, 0, 0}}};
    for (const auto& row : cases)
        EXPECT_EQ(parseStoredVersion(row.text), row.version) << row.text;
    EXPECT_LT(parseStoredVersion("10.9.20"), runningVersion());
    EXPECT_LT(parseStoredVersion("9.11.0"), parseStoredVersion("10.0.0"));
    EXPECT_EQ(toText(runningVersion()), programVersionText);
}

} // namespace
} // namespace kes

// SPDX-License-Identifier: MIT
// The whole way from the update server to the tables.
#include "core/errors.h"
#include "document_text.h"
#include "files.h"
#include "platform/zip.h"

namespace kes {
namespace {

using namespace test;
namespace fs = std::filesystem;

struct DataBase : ReferenceTest {
    DataBase() { fs::create_directories("input"); }

    static void serve(const std::string& document) {
        fs::create_directories("updates");
        zipOf({{"dbase.xml", document}}, "updates/dbase.zip");
    }
    static std::string failure() { return thrownBy(readDataBase); }
};

TEST_F(DataBase, IsReadFromTheServerAndLeavesNoDocument) {
    serve(DocumentText().set("dbase", db("PH-BVB", "KLM", "A320")).set("wingspans", span("A320", "35.8")).xml());
    EXPECT_TRUE(readDataBase());
    EXPECT_EQ(lookupRegcode("PHBVB")->airl, "KLM");
    EXPECT_TRUE(modelExists("A320"));
    EXPECT_FALSE(fs::exists(path::referenceDocument));
    EXPECT_FALSE(fs::exists("dbase.zip"));
}

TEST_F(DataBase, MissingZipEndsTheStart) {
    EXPECT_EQ(failure(), "data base could not be read from on-line?");
    EXPECT_TRUE(folder.logHas("downloading dbase.zip failed?"));
    putFile("updates/dbase.zip", "no zip");
    // A document from an interrupted start is neither read nor left.
    std::ofstream(path::referenceDocument) << DocumentText().xml();
    EXPECT_EQ(failure(), "data base could not be read from on-line?");
    EXPECT_FALSE(fs::exists(path::referenceDocument));
    EXPECT_FALSE(modelExists("A320"));
}

} // namespace
} // namespace kes

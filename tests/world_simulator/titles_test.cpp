// SPDX-License-Identifier: MIT
#include "files.h"
#include "support.h"
#include "world/simulator/titles.h"

namespace kes::world::test {
namespace {

TEST(Titles, ComeFromFilesAndFolders) {
    kes::test::TempFolder folder;
    folder.write("Community/pack/SimObjects/Airplanes/one/aircraft.cfg",
                 "[FLTSIM.0]\r\ntitle=Plain title ; comment\r\nTITLE = \"Quoted ; title\" ; "
                 "comment\r\nui_title=no\r\nsubtitle=no\n");
    folder.write("Community/pack/two/AIRCRAFT.CFG", "\xEF\xBB\xBFtitle=Fl\xC3\xBCgel\ntitle = \"never closed\n");
    folder.write("Community/pack/three/aircraft.cfg", "title=Gr\xFC\xDF Gott\n");
    folder.write("Community/pack/four/engines.cfg", "title=no\n");
    std::string wide = "\xFF\xFE";
    for (const char c : std::string_view("title=Wide\r\n"))
        (wide += c) += '\0';
    folder.write("Community/linked/aircraft.cfg", wide);
    Titles titles;
    EXPECT_TRUE(isKnownTitle(titles, "anything while the list is empty"));
    EXPECT_EQ(addTitlesFromFolder(titles, folder.path / "Community"), 4u);
    addTitlesFromFile(titles,
                      folder.write("titles.txt", "# comment\n\n  From a file  \r\n" + std::string(300, 'x') + "\n"));
    for (const char* title : {"Plain title", "Quoted ; title", "Fl\xC3\xBCgel", "Fl\xFCgel", "Gr\xFC\xDF Gott",
                              "Gr\xC3\xBC\xC3\x9F Gott", "Wide", "From a file"})
        EXPECT_TRUE(isKnownTitle(titles, title)) << title;
    EXPECT_TRUE(isKnownTitle(titles, std::string(255, 'x'))) << "as much as the field can hold";
    for (const char* title : {"no", "plain title", "never closed", "# comment", ""})
        EXPECT_FALSE(isKnownTitle(titles, title)) << title;
    EXPECT_THROW(addTitlesFromFolder(titles, folder.path / "none"), std::runtime_error);
    EXPECT_THROW(addTitlesFromFile(titles, folder.path / "none"), std::runtime_error);
}

} // namespace
} // namespace kes::world::test

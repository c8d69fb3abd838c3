// SPDX-License-Identifier: MIT
// Install detection over real folder trees, with every place of the user in a temporary folder.
#include "core/log.h"
#include "core/parameters.h"
#include "files.h"
#include "install/install.h"
#include "pipe_guard.h"
#include "platform/system.h"
#include "platform/user_folders.h"

#include <algorithm>
#include <cstdlib>
#include <fmt/format.h>
#include <map>
#include <optional>

namespace kes {
namespace {

namespace fs = std::filesystem;

/// Sets environment variables and puts them back.
struct Environment {
    ~Environment() {
        for (const auto& [name, value] : before)
            if (value)
                setenv(name.c_str(), value->c_str(), 1);
            else
                unsetenv(name.c_str());
    }
    void set(const std::string& name, const std::optional<std::string>& value) {
        const char* old = std::getenv(name.c_str());
        before.try_emplace(name, old == nullptr ? std::nullopt : std::optional<std::string>(old));
        if (value)
            setenv(name.c_str(), value->c_str(), 1);
        else
            unsetenv(name.c_str());
    }
    std::map<std::string, std::optional<std::string>> before;
};

using test::putFile;

/// As a program under Wine names a folder outside its prefix.
std::string windows(const fs::path& folder) {
    std::string text = "Z:" + folder.string();
    std::ranges::replace(text, '/', '\\');
    return text;
}

struct InstallTest : testing::Test {
    test::ProgramFolder program;
    Environment environment;
    fs::path home, roaming, local;

    void SetUp() override {
        setParameterDefaults();
        par::MSFS_2020.value = true;
        home = program.folder / "home";
        roaming = home / ".config";
        local = home / ".local/share";
        fs::create_directories(roaming);
        fs::create_directories(local);
        environment.set("HOME", home.string());
        for (const char* name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "STEAM_COMPAT_DATA_PATH", "WINEPREFIX"})
            environment.set(name, std::nullopt);
    }
    void TearDown() override { setParameterDefaults(); }

    /// A valid packages folder.
    static fs::path packages(const fs::path& folder, const char* official = "Official") {
        fs::create_directories(folder / "Community");
        fs::create_directories(folder / official);
        return folder;
    }
    static std::string names(const fs::path& path) {
        return fmt::format("InstalledPackagesPath \"{}\"\n", path.string());
    }
    /// A prefix with a user's folders and the drive links that Wine makes.
    static fs::path prefix(const fs::path& folder, const char* user = "steamuser") {
        for (const char* data : {"Roaming", "Local"})
            fs::create_directories(folder / "drive_c/users" / user / "AppData" / data);
        fs::create_directories(folder / "drive_c/users/Public");
        fs::create_directories(folder / "dosdevices");
        fs::create_symlink("../drive_c", folder / "dosdevices/c:");
        fs::create_symlink("/", folder / "dosdevices/z:");
        return folder;
    }
    static fs::path appData(const fs::path& prefixFolder) { return prefixFolder / "drive_c/users/steamuser/AppData"; }
    fs::path storeFile() const {
        return local / "Packages/Microsoft.FlightSimulator_8wekyb3d8bbwe/LocalCache/UserCfg.opt";
    }
    fs::path steamFile() const { return roaming / "Microsoft Flight Simulator/UserCfg.opt"; }
    fs::path dashboardFile() const {
        return local / "Packages/Microsoft.FlightDashboard_8wekyb3d8bbwe/LocalCache/UserCfg.opt";
    }
    fs::path boxedFile() const { return local / "MSFSPackages/UserCfg.opt"; }

    /// The lines that have come into the log since the last call.
    std::string newLog() {
        const std::string all = program.logText();
        std::string fresh = all.substr(std::min(seen, all.size()));
        seen = all.size();
        return fresh;
    }
    std::size_t seen = 0;
};

TEST_F(InstallTest, NothingInstalledTellsEveryPlaceOnceInOrder) {
    const auto told = [&](const fs::path& store, const fs::path& steam) {
        return fmt::format("MSFS detection, no Store:{}\nMSFS detection, no Steam1:{}\nMSFS detection, no Steam2:{}\n"
                           "MSFS detection, no Boxed:{}\nNo UserCfg.opt found?\n",
                           store.string(), steam.string(), dashboardFile().string(), boxedFile().string());
    };
    newLog();
    EXPECT_EQ(detectPackagesPath(), "");
    EXPECT_EQ(newLog(), told(storeFile(), steamFile()));
    par::MSFS_2020.value = false;
    EXPECT_EQ(detectPackagesPath(), "");
    EXPECT_EQ(newLog(), told(local / "Packages/Microsoft.Limitless_8wekyb3d8bbwe/LocalCache/UserCfg.opt",
                             roaming / "Microsoft Flight Simulator 2024/UserCfg.opt"));
}

TEST_F(InstallTest, SteamUnderTheRoamingFolderNeedsNoUserCfg) {
    const fs::path steam = packages(roaming / "Microsoft Flight Simulator/Packages");
    newLog();
    EXPECT_EQ(detectPackagesPath(), steam.string());
    EXPECT_EQ(newLog(), "Steam packages:" + steam.string() + "\n");

    // It exists but is not valid: the file decides, and that the folder was seen is told all the same.
    fs::remove(steam / "Community");
    const fs::path other = packages(program.folder / "other");
    putFile(steamFile(), names(other));
    EXPECT_EQ(detectPackagesPath(), other.string());
    EXPECT_NE(newLog().find("Steam packages:"), std::string::npos);
}

TEST_F(InstallTest, TheFirstUserCfgThatExistsDecides) {
    const fs::path good = packages(program.folder / "good packages");
    const std::string bad = names(program.folder / "deleted");
    const fs::path files[] = {storeFile(), steamFile(), dashboardFile(), boxedFile()};
    const char* kinds[] = {"Store", "Steam1", "Steam2", "Boxed"};
    for (std::size_t present = 0; present < 4; ++present) {
        for (const fs::path& file : files)
            fs::remove(file);
        putFile(files[present], names(good));
        newLog();
        EXPECT_EQ(detectPackagesPath(), good.string()) << kinds[present];
        std::string expected;
        for (std::size_t i = 0; i < present; ++i)
            expected += fmt::format("MSFS detection, no {}:{}\n", kinds[i], files[i].string());
        EXPECT_EQ(newLog(), expected + "UserCfg.opt: InstalledPackagesPath=" + good.string() + "\n");
        // A bad one above it stops the search.
        if (present > 0) {
            putFile(files[present - 1], bad);
            EXPECT_EQ(detectPackagesPath(), "") << kinds[present];
            EXPECT_NE(newLog().find("UserCfg.opt: InstalledPackagesPath=???\n"), std::string::npos);
        }
    }
}

TEST_F(InstallTest, TheOtherSimulatorsPackagesDoNotCount) {
    const fs::path folder = packages(program.folder / "sim20", "Official");
    putFile(local / "Packages/Microsoft.Limitless_8wekyb3d8bbwe/LocalCache/UserCfg.opt", names(folder));
    par::MSFS_2020.value = false;
    newLog();
    EXPECT_FALSE(isPackagesPath(folder));
    EXPECT_EQ(detectPackagesPath(), "");
    EXPECT_NE(newLog().find("InstalledPackagesPath=" + folder.string()), std::string::npos) << "it exists";
    fs::create_directory(folder / "Official2024");
    EXPECT_EQ(detectPackagesPath(), folder.string());
}

TEST_F(InstallTest, WhatALineOfUserCfgSays) {
    const fs::path good = packages(program.folder / "good");
    const fs::path umlaut = packages(program.folder / "J\xC3\xBCrgen");
    const std::string g = good.string(), unquoted = "InstalledPackagesPath here";
    packages(program.folder / unquoted);
    std::string little = "\xFF\xFE";
    std::string big = "\xFE\xFF";
    for (const char16_t c : platform::toUtf16("InstalledPackagesPath \"" + umlaut.string() + "\"\r\n")) {
        const char high = static_cast<char>(c >> 8);
        const char low = static_cast<char>(c & 0xFF);
        little += {low, high};
        big += {high, low};
    }
    struct Case {
        std::string content, result;
        std::string logged; ///< empty = the result
    };
    for (const Case& c : std::vector<Case>{
             {"{Video\r\n}\r\nInstalledPackagesPath \"" + g + "\"\r\n", g, ""},
             {"InstalledPackagesPath \"" + g + "\"", g, ""},
             {"InstalledPackagesPath\t\t\"" + g + "\" \"/tmp\"", g, ""},
             {"x InstalledPackagesPath2 \"" + g + "\"\n", g, ""},
             {"\"" + g + "\" InstalledPackagesPath \"/tmp\"\n", g, ""},
             {"installedpackagespath \"" + g + "\"\n", "", "???"},
             {"", "", "???"},
             {"InstalledPackagesPath \"" + g + "\n", "", "???"},
             {"InstalledPackagesPath \"\"" + g + "\"\n", "", "???"},
             {"InstalledPackagesPath " + g + "\n", "", "???"},
             {unquoted + "\n", unquoted, ""}, // the line is taken whole
             {"InstalledPackagesPath \"/not/here\"\nInstalledPackagesPath \"" + g + "\"\n", "", "???"},
             {"InstalledPackagesPath \"" + g + "\"\nInstalledPackagesPath \"/not/here\"\n", g, ""},
             {"InstalledPackagesPath \"" + program.folder.string() + "\"\n", "", program.folder.string()},
             {"\xEF\xBB\xBFInstalledPackagesPath \"" + umlaut.string() + "\"\r\n", umlaut.string(), ""},
             {little, umlaut.string(), ""},
             {big + "x", umlaut.string(), ""},
             {big + "\xD8\n", "", "???"}, // broken 16-bit text had no mark
             {"InstalledPackagesPath \"" + program.folder.string() + "/J\xFCrgen\"\n", umlaut.string(), ""},
         }) {
        putFile(storeFile(), c.content);
        newLog();
        EXPECT_EQ(detectPackagesPath(), c.result) << c.content;
        EXPECT_EQ(newLog(), "UserCfg.opt: InstalledPackagesPath=" + (c.logged.empty() ? c.result : c.logged) + "\n")
            << c.content;
    }
}

TEST_F(InstallTest, TheDesktopsFoldersDecideAndNotTheCurrentOne) {
    packages("Microsoft Flight Simulator/Packages");
    putFile("MSFSPackages/UserCfg.opt", names(packages(program.folder / "trap")));
    const fs::path found = packages(program.folder / "found");
    environment.set("XDG_CONFIG_HOME", (program.folder / "settings").string());
    environment.set("XDG_DATA_HOME", (program.folder / "data").string());
    putFile(program.folder / "data/MSFSPackages/UserCfg.opt", names(found));
    EXPECT_EQ(detectPackagesPath(), found.string());
}

TEST_F(InstallTest, SubFoldersOfTheSelectedInstallPath) {
    EXPECT_TRUE(installSubFolder("Community").empty());
    par::MSFS_INSTALL_PATH.set((program.folder / "a").string());
    par::MSFS_2024_INSTALL_PATH.set((program.folder / "b").string());
    EXPECT_EQ(installSubFolder("Community"), program.folder / "a/Community");
    par::MSFS_2020.value = false;
    EXPECT_EQ(installSubFolder("Official"), program.folder / "b/Official");
    fs::create_directories(program.folder / "b/community");
    EXPECT_EQ(installSubFolder("Community"), program.folder / "b/community");
    fs::create_directories(program.folder / "b/Community");
    EXPECT_EQ(installSubFolder("Community"), program.folder / "b/Community") << "the exact name first";
}

TEST_F(InstallTest, AProtonPrefixInEveryPlaceOfSteam) {
    const fs::path disk = program.folder / "other disk/SteamLibrary";
    struct Case {
        const char* steam; ///< Steam's own folder
        fs::path library;  ///< where the prefix lies; empty = there
    };
    for (const Case& c : {Case{".steam/steam", {}}, Case{".local/share/Steam", {}}, Case{".local/share/Steam", disk},
                          Case{".var/app/com.valvesoftware.Steam/.local/share/Steam", {}}}) {
        SCOPED_TRACE(c.steam + c.library.string());
        const fs::path steam = home / c.steam, library = c.library.empty() ? steam : c.library;
        fs::create_directories(steam / "steamapps");
        if (library != steam) {
            putFile(
                steam / "steamapps/libraryfolders.vdf",
                fmt::format("\"libraryfolders\"\n{{\n\t\"0\"\n\t{{\n\t\t\"path\"\t\t\"{}\"\n\t\t\"apps\"\n\t\t{{\n"
                            "\t\t\t\"228980\"\t\t\"444498412\"\n\t\t}}\n\t}}\n\t\"1\"\n\t{{\n\t\t\"path\"\t\t\"{}\"\n"
                            "\t\t\"label\"\t\t\"games \\\"fast\\\"\"\n\t}}\n}}\n",
                            steam.string(), library.string()));
        }
        const fs::path pfx = prefix(library / "steamapps/compatdata/1250410/pfx");
        const fs::path good = packages(appData(pfx) / "Roaming/Microsoft Flight Simulator/Packages");
        newLog();
        EXPECT_EQ(fs::path(detectPackagesPath()), fs::canonical(good));
        const std::string log = newLog();
        EXPECT_LT(log.find("no Store:" + storeFile().string()), log.find("Steam packages:")) << "native folders first";
        for (const char* folder : {".steam", ".local/share/Steam", ".var"})
            fs::remove_all(home / folder);
        fs::remove_all(disk);
    }
}

TEST_F(InstallTest, TheEnvironmentsPrefixesAndTheSimulatorsOwnComeFirst) {
    const fs::path steam = home / ".local/share/Steam/steamapps";
    const auto folders = [&](std::string_view id) {
        std::vector<std::string> found;
        for (const platform::UserFolders& user : platform::prefixUserFolders(id))
            found.push_back(user.roaming.string());
        return found;
    };
    for (const char* id : {"99", "1000", "1250410", "2537590"})
        prefix(steam / "compatdata" / id / "pfx");
    fs::create_directories(steam / "compatdata/5/pfx/drive_c/windows"); // nobody has used it
    // The older form of the list, which names the same library once more, and one that has gone.
    putFile(steam / "libraryfolders.vdf",
            fmt::format("\"LibraryFolders\"\n{{\n\t\"TimeNextStatsReport\"\t\"1600000000\"\n\t\"1\"\t\"{}\"\n"
                        "\t\"2\"\t\"/not/mounted\"\n\t\"3\"\t\"{}\"\n",
                        (home / ".local/share/Steam").string(), (program.folder / "lib").string()));
    prefix(program.folder / "lib/SteamApps/compatdata/77/pfx");
    fs::create_directory(home / ".steam");
    fs::create_directory_symlink(home / ".local/share/Steam", home / ".steam/steam");
    const fs::path wine = prefix(program.folder / "wine", "anna");
    prefix(program.folder / "compat/pfx");
    const auto of = [&](const fs::path& folder, const char* user = "steamuser") {
        return (folder / "drive_c/users" / user / "AppData/Roaming").string();
    };
    const std::string own = of(steam / "compatdata/2537590/pfx"), other = of(steam / "compatdata/1250410/pfx");
    const std::vector<std::string> rest{of(steam / "compatdata/99/pfx"), of(steam / "compatdata/1000/pfx"), other,
                                        of(program.folder / "lib/SteamApps/compatdata/77/pfx")};
    std::vector<std::string> expected{own};
    expected.insert(expected.end(), rest.begin(), rest.end());
    EXPECT_EQ(folders("2537590"), expected);

    environment.set("WINEPREFIX", wine.string());
    environment.set("STEAM_COMPAT_DATA_PATH", (program.folder / "compat").string());
    expected.insert(expected.begin(), {of(program.folder / "compat/pfx"), of(wine, "anna")});
    EXPECT_EQ(folders("2537590"), expected);

    environment.set("STEAM_COMPAT_DATA_PATH", (steam / "compatdata/99").string());
    EXPECT_EQ(folders("2537590")[0], rest[0]);
    EXPECT_EQ(folders("2537590").size(), expected.size() - 1) << "each prefix once";
}

TEST_F(InstallTest, PathsOfAPrefix) {
    const fs::path pfx = prefix(program.folder / "pfx");
    const fs::path games = program.folder / "disk/Games";
    fs::create_directories(games / "Packages");
    fs::create_directories(pfx / "drive_c/Users Data/J\xC3\xBCrgen");
    fs::create_directory_symlink(games, pfx / "dosdevices/d:");
    fs::create_directory_symlink(program.folder / "gone", pfx / "dosdevices/e:");
    const std::string z = "Z:" + games.string(), backslashes = windows(games);
    struct Case {
        std::string text;
        fs::path path;
    };
    for (const Case& c : std::vector<Case>{
             {"D:\\Packages", games / "Packages"},
             {"d:/packages\\", games / "Packages"},
             {"\\\\?\\D:\\PACKAGES", games / "Packages"},
             {backslashes, games},
             {z + "/packages", games / "Packages"},
             {"C:\\users data\\J\xC3\xBCrgen\\new", pfx / "drive_c/Users Data/J\xC3\xBCrgen/new"},
             {"D:", games},
             {"E:\\x", ""},
             {"F:\\x", ""},
             {"\\\\server\\share", ""},
             {"/home/me", ""},
             {"", ""},
         })
        EXPECT_EQ(platform::pathInPrefix(pfx, c.text), c.path) << c.text;
    // A prefix without links still has its two usual drives.
    fs::remove_all(pfx / "dosdevices");
    EXPECT_EQ(platform::pathInPrefix(pfx, "C:\\users data"), pfx / "drive_c/Users Data");
    EXPECT_EQ(platform::pathInPrefix(pfx, backslashes), games);
    EXPECT_EQ(platform::pathInPrefix(pfx, "D:\\Packages"), "");
}

TEST_F(InstallTest, AUserCfgOfAPrefixIsReadThroughItsDrives) {
    const fs::path compat = home / ".local/share/Steam/steamapps/compatdata";
    const fs::path pfx = prefix(compat / "1250410/pfx");
    const fs::path onC = packages(pfx / "drive_c/MSFS Packages");
    fs::rename(onC / "Community", onC / "community"); // as a copy from elsewhere may have it
    putFile(appData(pfx) / "Roaming/Microsoft Flight Simulator/UserCfg.opt",
            "InstalledPackagesPath \"C:\\msfs packages\"\r\n");
    newLog();
    EXPECT_EQ(detectPackagesPath(), onC.string());
    EXPECT_TRUE(newLog().ends_with("UserCfg.opt: InstalledPackagesPath=" + onC.string() + "\n"));

    // A prefix with a bad path does not end the search, nor does one that must not be read.
    putFile(appData(pfx) / "Roaming/Microsoft Flight Simulator/UserCfg.opt",
            "InstalledPackagesPath \"C:\\" + std::string(300, 'x') + "\"\r\n");
    const fs::path second = prefix(compat / "3000000/pfx");
    putFile(appData(second) / "Local/Packages/Microsoft.FlightSimulator_8wekyb3d8bbwe/LocalCache/UserCfg.opt",
            "InstalledPackagesPath \"C:\\Nowhere\"\r\n");
    const fs::path third = prefix(compat / "3000001/pfx");
    const fs::path onDisk = packages(program.folder / "big disk/MSFS");
    putFile(appData(third) / "Local/MSFSPackages/UserCfg.opt", names(windows(onDisk)));
    EXPECT_EQ(detectPackagesPath(), onDisk.string());
    const std::string log = newLog();
    EXPECT_NE(log.find("exists"), std::string::npos) << "the fault of the first prefix is told";
    EXPECT_NE(log.find("InstalledPackagesPath=???\n"), std::string::npos);
}

TEST_F(InstallTest, WhatCannotBeReadCostsOnlyItself) {
    // In the places that come before the good one: folders of the names, pipes, endless files.
    fs::create_directories(storeFile());
    fs::create_directories(steamFile().parent_path());
    fs::create_directories(dashboardFile().parent_path());
    const test::PipeGuard pipe(steamFile());
    fs::create_symlink("/dev/zero", dashboardFile());
    const fs::path good = packages(program.folder / "good");
    putFile(boxedFile(), names(good));
    newLog();
    EXPECT_EQ(detectPackagesPath(), good.string());
    EXPECT_EQ(newLog(),
              fmt::format("{} cannot be read: Is a directory\n{} cannot be read: not a regular file\n"
                          "{} cannot be read: not a regular file\nUserCfg.opt: InstalledPackagesPath={}\n",
                          storeFile().string(), steamFile().string(), dashboardFile().string(), good.string()));
    putFile(boxedFile(), std::string((1 << 20) + 1, ' '));
    EXPECT_EQ(detectPackagesPath(), "");
    EXPECT_NE(newLog().find("File too large\nNo UserCfg.opt found?\n"), std::string::npos);

    // The same in prefixes, and the lists of libraries that lead to them.
    fs::remove(boxedFile());
    const fs::path steam = home / ".local/share/Steam", compat = steam / "steamapps/compatdata";
    fs::create_directories(steam / "steamapps/libraryfolders.vdf");
    fs::create_directories(steam / "config");
    const test::PipeGuard list(steam / "config/libraryfolders.vdf");
    fs::create_directories(appData(prefix(compat / "1250410/pfx")) / "Local/MSFSPackages/UserCfg.opt");
    const fs::path second = prefix(compat / "3000000/pfx");
    putFile(appData(second) / "Local/MSFSPackages/UserCfg.opt", names("Z:" + good.string()));
    EXPECT_EQ(detectPackagesPath(), good.string());
    const std::string log = newLog();
    for (const char* line : {"steamapps/libraryfolders.vdf cannot be read: Is a directory\n",
                             "config/libraryfolders.vdf cannot be read: not a regular file\n",
                             "Local/MSFSPackages/UserCfg.opt cannot be read: Is a directory\n"})
        EXPECT_NE(log.find(line), std::string::npos) << log;
}

} // namespace
} // namespace kes

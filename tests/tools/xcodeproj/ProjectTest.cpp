// The committed Xcode project compiles exactly the device build's sources, names only files
// that exist, copies the app's resources, and is what the generator writes; the device build
// script steps aside plainly where there is no SDK.

#include "tests/support/Programs.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orrery::testing {
namespace {

namespace fs = std::filesystem;

const fs::path kRoot = ORRERY_SOURCE_DIR;
const fs::path kProject = kRoot / "OrreryAR.xcodeproj" / "project.pbxproj";
const fs::path kTools = kRoot / "tools" / "xcodeproj";

using Json = nlohmann::json;

/// An old-style (OpenStep) property list, as Xcode writes projects, turned into JSON; throws when
/// malformed. { key = value; } becomes an object, ( a, b, ) an array, and quoted or bare strings
/// and <hex data> strings that keep their text; /* */ and // comments go.
Json readOldStylePlist(const std::string& s) {
    std::string json, last;  // the JSON so far; its last string
    std::vector<std::pair<char, std::set<std::string>>> open;  // the brackets still open, with their keys
    auto fail = [](std::size_t at) -> void {
        throw std::runtime_error("old-style property list: cannot read at offset " + std::to_string(at));
    };
    auto bare = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) || std::string_view("_$+/:.-").find(c) != std::string_view::npos; };
    auto inside = [&](char bracket) { return !open.empty() && open.back().first == bracket; };
    for (std::size_t i = 0, end = 0; i < s.size(); i = end) {
        const char c = s[i];
        end = i + 1;
        if (s.compare(i, 2, "/*") == 0) {
            end = std::min(s.find("*/", i + 2), s.size()) + 2;
        } else if (s.compare(i, 2, "//") == 0) {
            end = s.find('\n', i);
        } else if (c == '"' || c == '<' || bare(c)) {  // old-style escapes that JSON lacks fail to parse
            if (c == '"') {
                while (end < s.size() && s[end] != '"') end += s[end] == '\\' ? 2 : 1;
                last = s.substr(i, ++end - i);
            } else {
                end = c == '<' ? std::min(s.find('>', i), s.size()) + 1 : std::find_if_not(s.begin() + i, s.end(), bare) - s.begin();
                last = Json(s.substr(i, end - i)).dump();
            }
            json += last;
        } else if (c == '{' || c == '(') {
            open.push_back({c, {}});
            json += c == '{' ? '{' : '[';
        } else if (c == '}' || c == ')') {
            // A dictionary's last entry ends in ';', an array's last item may end in ','.
            if (!inside(c == '}' ? '{' : '(') || (c == '}' && !json.ends_with(',') && !json.ends_with('{'))) fail(i);
            if (json.ends_with(',')) json.pop_back();
            open.pop_back();
            json += c == '}' ? '}' : ']';
        } else if (c == '=' || c == ';' || c == ',') {
            if (!inside(c == ',' ? '(' : '{') || (c == '=' && !open.back().second.insert(last).second)) fail(i);  // a key given twice
            json += c == '=' ? ':' : ',';
        } else if (!std::isspace(static_cast<unsigned char>(c))) {
            fail(i);
        }
    }
    return Json::parse(json);
}

/// What cmake prints with ROOT set to the repository and `arguments`, failing the test if it fails.
std::string cmake(std::vector<std::string> arguments) {
    const TempDir dir;
    arguments.insert(arguments.begin(), {ORRERY_CMAKE_COMMAND, "-DROOT=" + kRoot.string()});
    const ProgramRun run = runProgram(arguments, dir.path);
    EXPECT_EQ(run.status, 0) << run.out << run.err;
    return run.out + run.err;  // message() writes to standard error
}

/// The translation units of the device build, as DeviceBuild.cmake lists them.
std::vector<std::string> deviceSources() {
    std::vector<std::string> sources;
    std::istringstream lines(cmake({"-DWHAT=sources", "-P", (kTools / "print.cmake").string()}));
    for (std::string line; std::getline(lines, line);)
        if (!line.empty()) sources.push_back(line);
    return sources;
}

/// What a project says, with every file as a path relative to the repository.
struct ProjectContents {
    std::set<std::string> compiled;  // the app target's Sources phase
    std::set<std::string> copied;    // its Resources phase
    std::set<std::string> named;     // every file reference inside the repository
};

ProjectContents readProject(const Json& project) {
    const Json& objects = project.at("objects");
    auto ids = [](const Json& owner, const char* key) { return owner.value(key, std::vector<std::string>{}); };
    auto join = [](const std::string& folder, const std::string& name) { return folder.empty() ? name : folder + "/" + name; };

    ProjectContents contents;
    std::map<std::string, std::string> pathOf;  // object id -> path
    std::function<void(const std::string&, const std::string&)> walk = [&](const std::string& groupId, const std::string& folder) {
        for (const std::string& id : ids(objects.at(groupId), "children")) {
            const Json& child = objects.at(id);
            if (child.value("sourceTree", "") != "<group>") continue;  // the SDK's frameworks, the product
            const std::string isa = child.value("isa", ""), path = join(folder, child.value("path", ""));
            if (isa == "PBXGroup") {
                walk(id, child.contains("path") ? path : folder);
            } else if (isa == "PBXVariantGroup") {
                pathOf[id] = join(folder, child.value("name", ""));
                walk(id, folder);
            } else {
                contents.named.insert(pathOf[id] = path);
            }
        }
    };
    const Json& root = objects.at(project.at("rootObject").get<std::string>());
    walk(root.at("mainGroup").get<std::string>(), "");

    for (const std::string& targetId : ids(root, "targets")) {
        const Json& target = objects.at(targetId);
        if (target.value("productType", "") != "com.apple.product-type.application") continue;
        for (const std::string& phaseId : ids(target, "buildPhases")) {
            const std::string isa = objects.at(phaseId).value("isa", "");
            auto* into = isa == "PBXSourcesBuildPhase" ? &contents.compiled : isa == "PBXResourcesBuildPhase" ? &contents.copied : nullptr;
            if (!into) continue;
            for (const std::string& buildId : ids(objects.at(phaseId), "files")) {
                const std::string ref = objects.at(buildId).value("fileRef", "");
                into->insert(pathOf.count(ref) ? pathOf[ref] : "<outside the repository: " + ref + ">");
            }
        }
    }
    return contents;
}

/// Everything wrong with a project against the device build's sources; empty when it is right.
std::vector<std::string> projectProblems(const ProjectContents& project, const std::vector<std::string>& sources) {
    std::vector<std::string> problems;
    for (const std::string& source : sources)
        if (!project.compiled.count(source)) problems.push_back("not compiled by the project: " + source);
    for (const std::string& compiled : project.compiled)
        if (!std::ranges::count(sources, compiled)) problems.push_back("compiled by the project but not a device source: " + compiled);
    for (const std::string& file : project.named)
        if (!fs::exists(kRoot / file)) problems.push_back("names a missing file: " + file);
    for (const char* resource : {"app/Main.storyboard", "app/LaunchScreen.storyboard", "app/Assets.xcassets", "art.scnassets"})
        if (!project.copied.count(resource)) problems.push_back(std::string("does not copy: ") + resource);
    return problems;
}

TEST(XcodeProject, CompilesExactlyTheDeviceSourcesAndNamesOnlyExistingFiles) {
    const std::vector<std::string> sources = deviceSources();
    ASSERT_TRUE(std::count(sources.begin(), sources.end(), "platform/device/DevicePlatform.mm"));
    ASSERT_TRUE(std::count(sources.begin(), sources.end(), "content/Bootstrap.cpp"));
    ASSERT_TRUE(std::none_of(sources.begin(), sources.end(), [](const std::string& s) {
        return s.starts_with("platform/memory/") || s.starts_with("sim/") || s.starts_with("tests/");
    }));
    const ProjectContents contents = readProject(readOldStylePlist(readFile(kProject)));
    EXPECT_TRUE(contents.named.contains("app/Base.lproj/LaunchScreen.storyboard"));  // variant groups are walked too
    EXPECT_EQ(projectProblems(contents, sources), std::vector<std::string>{})
        << "after adding or removing a source file, run `cmake -P tools/xcodeproj/generate.cmake`";
}

TEST(XcodeProject, IsWhatTheGeneratorWrites) {
    const TempDir scratch;
    const fs::path out = scratch.path / "project.pbxproj";
    cmake({"-DOUTPUT=" + out.string(), "-P", (kTools / "generate.cmake").string()});
    EXPECT_TRUE(readFile(out) == readFile(kProject))
        << "OrreryAR.xcodeproj is out of date: run `cmake -P tools/xcodeproj/generate.cmake`";
}

TEST(DeviceBuildScript, WithoutAnSdkSaysSoInOneLineAndSucceeds) {
    const TempDir dir;
    const std::string sdk = (dir.path / "no-such-sdk" / "iPhoneOS.sdk").string();
    const auto run = runProgram({"/bin/bash", (kRoot / "scripts" / "device-build.sh").string()}, dir.path, "", {"ORRERY_IOS_SDK=" + sdk});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out + run.err, "device build: skipped (no iOS SDK at " + sdk + ")\n");
}

} // namespace
} // namespace orrery::testing

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

class XcodeProject : public ::testing::Test {
public:  // the drift cases below change the fixture through a reference to it
    Json project = readOldStylePlist(readFile(kProject));
    std::vector<std::string> sources = deviceSources();

    Json& objects() { return project["objects"]; }
    /// The id of the object whose `key` is `value`.
    std::string idWhere(const std::string& key, const std::string& value) {
        for (auto& [id, object] : objects().items())
            if (object.value(key, "") == value) return id;
        ADD_FAILURE() << "no object with " << key << " = " << value;
        return "";
    }
    void rename(const std::string& path, const std::string& to) { objects()[idWhere("path", path)]["path"] = to; }
    /// Takes the build file of `fileRef` out of every build phase.
    void dropBuildFileOf(const std::string& fileRef) {
        const std::string buildFile = idWhere("fileRef", fileRef);
        for (Json& object : objects())
            if (object.contains("files")) {
                Json& files = object["files"];
                files.erase(std::remove(files.begin(), files.end(), buildFile), files.end());
            }
    }
};

TEST_F(XcodeProject, CompilesExactlyTheDeviceSourcesAndNamesOnlyExistingFiles) {
    ASSERT_TRUE(std::count(sources.begin(), sources.end(), "platform/device/DevicePlatform.mm"));
    ASSERT_TRUE(std::count(sources.begin(), sources.end(), "content/Bootstrap.cpp"));
    ASSERT_TRUE(std::none_of(sources.begin(), sources.end(), [](const std::string& s) {
        return s.starts_with("platform/memory/") || s.starts_with("sim/") || s.starts_with("tests/");
    }));
    EXPECT_EQ(projectProblems(readProject(project), sources), std::vector<std::string>{})
        << "after adding or removing a source file, run `cmake -P tools/xcodeproj/generate.cmake`";
}

TEST_F(XcodeProject, ReportsEachKindOfDrift) {
    struct Case {
        const char* what;
        std::function<void(XcodeProject&)> change;
        std::string problem;
    };
    const std::vector<Case> cases = {
        {"a logic file added after the project was made", [](XcodeProject& t) { t.sources.push_back("content/Orbits.cpp"); },
         "not compiled by the project: content/Orbits.cpp"},
        {"a source left out of the Sources phase", [](XcodeProject& t) { t.dropBuildFileOf(t.idWhere("path", "Placement.cpp")); },
         "not compiled by the project: app/Placement.cpp"},
        {"a file removed from the device build but still compiled", [](XcodeProject& t) { std::erase(t.sources, "app/main.mm"); },
         "compiled by the project but not a device source: app/main.mm"},
        {"a file renamed in the project only", [](XcodeProject& t) { t.rename("Touches.cpp", "Touch.cpp"); },
         "names a missing file: interaction/Touch.cpp"},
        {"a storyboard whose file is gone", [](XcodeProject& t) { t.rename("Base.lproj/LaunchScreen.storyboard", "Base.lproj/Launch.storyboard"); },
         "names a missing file: app/Base.lproj/Launch.storyboard"},
        {"the models not copied into the app", [](XcodeProject& t) { t.dropBuildFileOf(t.idWhere("path", "art.scnassets")); },
         "does not copy: art.scnassets"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const Json original = project;
        const std::vector<std::string> originalSources = sources;
        c.change(*this);
        const auto problems = projectProblems(readProject(project), sources);
        EXPECT_TRUE(std::count(problems.begin(), problems.end(), c.problem)) << ::testing::PrintToString(problems);
        project = original;
        sources = originalSources;
    }
}

TEST_F(XcodeProject, IsWhatTheGeneratorWrites) {
    const TempDir scratch;
    const fs::path out = scratch.path / "project.pbxproj";
    cmake({"-DOUTPUT=" + out.string(), "-P", (kTools / "generate.cmake").string()});
    const std::string generated = readFile(out);
    EXPECT_FALSE(generated.empty());
    EXPECT_TRUE(generated == readFile(kProject))
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

// The committed Xcode project compiles exactly the device build's sources, names only files
// that exist, copies the app's resources, and is what the generator writes; the device build
// script steps aside plainly where there is no SDK.

#include "tests/tools/xcodeproj/OldStylePlist.h"

#include "tests/support/Programs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <unistd.h>

namespace orrery::testing {
namespace {

namespace fs = std::filesystem;

const fs::path kRoot = ORRERY_SOURCE_DIR;
const fs::path kProject = kRoot / "OrreryAR.xcodeproj" / "project.pbxproj";
const fs::path kTools = kRoot / "tools" / "xcodeproj";


/// Runs a shell command; its output and whether it succeeded.
std::pair<std::string, bool> run(const std::string& command) {
    std::string output;
    FILE* pipe = ::popen((command + " 2>&1").c_str(), "r");
    if (!pipe) return {"", false};
    char buffer[4096];
    while (std::size_t n = std::fread(buffer, 1, sizeof buffer, pipe)) output.append(buffer, n);
    return {output, ::pclose(pipe) == 0};
}

std::string cmake(const std::string& arguments) {
    auto [output, ok] = run("'" ORRERY_CMAKE_COMMAND "' -DROOT='" + kRoot.string() + "' " + arguments);
    EXPECT_TRUE(ok) << output;
    return output;
}

/// The translation units of the device build, as DeviceBuild.cmake lists them.
std::vector<std::string> deviceSources() {
    std::vector<std::string> sources;
    std::istringstream lines(cmake("-DWHAT=sources -P '" + (kTools / "print.cmake").string() + "'"));
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

ProjectContents readProject(const PlistValue& project) {
    const PlistValue& objects = *project.at("objects");
    auto object = [&](const std::string& id) -> const PlistValue& {
        const PlistValue* found = objects.at(id);
        if (!found) throw std::runtime_error("no object " + id);
        return *found;
    };
    auto ids = [](const PlistValue& owner, const std::string& key) {
        std::vector<std::string> out;
        if (const PlistValue* list = owner.at(key))
            for (const PlistValue& item : *list->array()) out.push_back(*item.string());
        return out;
    };
    auto join = [](const std::string& folder, const std::string& name) { return folder.empty() ? name : folder + "/" + name; };

    ProjectContents contents;
    std::map<std::string, std::string> pathOf;  // object id -> path
    std::function<void(const std::string&, const std::string&)> walk = [&](const std::string& groupId,
                                                                           const std::string& folder) {
        for (const std::string& id : ids(object(groupId), "children")) {
            const PlistValue& child = object(id);
            if (child.text("sourceTree") != "<group>") continue;  // the SDK's frameworks, the product
            const std::string isa = child.text("isa").value_or("");
            const std::string path = join(folder, child.text("path").value_or(""));
            if (isa == "PBXGroup") {
                walk(id, child.text("path") ? path : folder);
            } else if (isa == "PBXVariantGroup") {
                pathOf[id] = join(folder, child.text("name").value_or(""));
                walk(id, folder);
            } else {
                pathOf[id] = path;
                contents.named.insert(path);
            }
        }
    };
    const PlistValue& root = object(*project.text("rootObject"));
    walk(*root.text("mainGroup"), "");

    for (const std::string& targetId : ids(root, "targets")) {
        const PlistValue& target = object(targetId);
        if (target.text("productType") != "com.apple.product-type.application") continue;
        for (const std::string& phaseId : ids(target, "buildPhases")) {
            const PlistValue& phase = object(phaseId);
            const std::string isa = phase.text("isa").value_or("");
            auto* into = isa == "PBXSourcesBuildPhase" ? &contents.compiled : isa == "PBXResourcesBuildPhase" ? &contents.copied : nullptr;
            if (!into) continue;
            for (const std::string& buildId : ids(phase, "files")) {
                const std::string ref = object(buildId).text("fileRef").value_or("");
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
        if (std::find(sources.begin(), sources.end(), compiled) == sources.end())
            problems.push_back("compiled by the project but not a device source: " + compiled);
    for (const std::string& file : project.named)
        if (!fs::exists(kRoot / file)) problems.push_back("names a missing file: " + file);
    for (const char* resource : {"app/Main.storyboard", "app/LaunchScreen.storyboard", "app/Assets.xcassets", "art.scnassets"})
        if (!project.copied.count(resource)) problems.push_back(std::string("does not copy: ") + resource);
    return problems;
}

class XcodeProject : public ::testing::Test {
public:  // the drift cases below change the fixture through a reference to it
    PlistValue project = OldStylePlistReader::read(readFile(kProject));
    std::vector<std::string> sources = deviceSources();

    PlistDict& objects() { return *project.dict()->at("objects").dict(); }
    /// The id of the object whose `key` is `value`.
    std::string idWhere(const std::string& key, const std::string& value) {
        for (auto& [id, object] : objects())
            if (object.text(key) == value) return id;
        ADD_FAILURE() << "no object with " << key << " = " << value;
        return "";
    }
    /// Takes the build file of `fileRef` out of every build phase.
    void dropBuildFileOf(const std::string& fileRef) {
        const std::string buildFile = idWhere("fileRef", fileRef);
        for (auto& [id, object] : objects())
            if (auto* files = object.dict() && object.at("files") ? object.dict()->at("files").array() : nullptr)
                std::erase_if(*files, [&](const PlistValue& v) { return *v.string() == buildFile; });
    }
};

TEST_F(XcodeProject, CompilesExactlyTheDeviceSourcesAndNamesOnlyExistingFiles) {
    ASSERT_TRUE(std::count(sources.begin(), sources.end(), "platform/device/DevicePlatform.mm"));
    ASSERT_TRUE(std::count(sources.begin(), sources.end(), "content/Bootstrap.cpp"));
    ASSERT_TRUE(std::none_of(sources.begin(), sources.end(), [](const std::string& s) {
        return s.starts_with("platform/memory/") || s.starts_with("sim/") || s.starts_with("tests/");
    }));
    std::vector<std::string> none;
    EXPECT_EQ(projectProblems(readProject(project), sources), none)
        << "after adding or removing a source file, run `cmake -P tools/xcodeproj/generate.cmake`";
}

TEST_F(XcodeProject, ReportsEachKindOfDrift) {
    struct Case {
        const char* what;
        std::function<void(XcodeProject&)> change;
        std::string problem;
    };
    const std::vector<Case> cases = {
        {"a logic file added after the project was made",
         [](XcodeProject& t) { t.sources.push_back("content/Orbits.cpp"); },
         "not compiled by the project: content/Orbits.cpp"},
        {"a source left out of the Sources phase",
         [](XcodeProject& t) { t.dropBuildFileOf(t.idWhere("path", "Placement.cpp")); },
         "not compiled by the project: app/Placement.cpp"},
        {"a file removed from the device build but still compiled",
         [](XcodeProject& t) { std::erase(t.sources, "app/main.mm"); },
         "compiled by the project but not a device source: app/main.mm"},
        {"a file renamed in the project only",
         [](XcodeProject& t) { (*t.objects().at(t.idWhere("path", "Touches.cpp")).dict())["path"] = {std::string("Touch.cpp")}; },
         "names a missing file: interaction/Touch.cpp"},
        {"a storyboard whose file is gone",
         [](XcodeProject& t) { (*t.objects().at(t.idWhere("path", "Base.lproj/LaunchScreen.storyboard")).dict())["path"] = {std::string("Base.lproj/Launch.storyboard")}; },
         "names a missing file: app/Base.lproj/Launch.storyboard"},
        {"the models not copied into the app",
         [](XcodeProject& t) { t.dropBuildFileOf(t.idWhere("path", "art.scnassets")); },
         "does not copy: art.scnassets"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const PlistValue original = project;
        const std::vector<std::string> originalSources = sources;
        c.change(*this);
        const auto problems = projectProblems(readProject(project), sources);
        EXPECT_TRUE(std::count(problems.begin(), problems.end(), c.problem)) << ::testing::PrintToString(problems);
        project = original;
        sources = originalSources;
    }
}

TEST_F(XcodeProject, IsWhatTheGeneratorWrites) {
    const fs::path out = fs::temp_directory_path() / ("orrery-xcodeproj-test-" + std::to_string(::getpid()) + ".pbxproj");
    cmake("-DOUTPUT='" + out.string() + "' -P '" + (kTools / "generate.cmake").string() + "'");
    const std::string generated = readFile(out);
    fs::remove(out);
    EXPECT_FALSE(generated.empty());
    EXPECT_TRUE(generated == readFile(kProject))
        << "OrreryAR.xcodeproj is out of date: run `cmake -P tools/xcodeproj/generate.cmake`";
}

TEST(DeviceBuildScript, WithoutAnSdkSaysSoInOneLineAndSucceeds) {
    const std::string sdk = (fs::temp_directory_path() / "orrery-no-such-sdk" / "iPhoneOS.sdk").string();
    auto [output, ok] = run("ORRERY_IOS_SDK='" + sdk + "' bash '" + (kRoot / "scripts" / "device-build.sh").string() + "'");
    EXPECT_TRUE(ok);
    EXPECT_EQ(output, "device build: skipped (no iOS SDK at " + sdk + ")\n");
}

} // namespace
} // namespace orrery::testing

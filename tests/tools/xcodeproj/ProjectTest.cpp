// The committed Xcode project compiles exactly the device build's sources, names only files
// that exist, copies the app's resources, shows warnings without failing on them, shares a
// scheme that builds its app, and is what the generator writes; the device build script steps
// aside plainly where there is no SDK.

#include "tests/support/Programs.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <plist/plist.h>
#include <pugixml.hpp>

#include <algorithm>
#include <cstdlib>
#include <cctype>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
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
const fs::path kScheme = kRoot / "OrreryAR.xcodeproj" / "xcshareddata" / "xcschemes" / "OrreryAR.xcscheme";
const fs::path kTools = kRoot / "tools" / "xcodeproj";

using Json = nlohmann::json;

/// An old-style (OpenStep) property list, as Xcode writes projects, turned into JSON; throws when
/// malformed. { key = value; } becomes an object, ( a, b, ) an array, and quoted or bare strings
/// and <hex data> strings that keep their text; /* */ and // comments go.
Json readOldStylePlist(const std::string& s) {
    std::string json, last;                                    // the JSON so far; its last string
    std::vector<std::pair<char, std::set<std::string>>> open;  // the brackets still open, with their keys
    auto fail = [](std::size_t at) -> void {
        throw std::runtime_error("old-style property list: cannot read at offset " + std::to_string(at));
    };
    auto bare = [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) ||
               std::string_view("_$+/:.-").find(c) != std::string_view::npos;
    };
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
                end = c == '<' ? std::min(s.find('>', i), s.size()) + 1
                               : std::find_if_not(s.begin() + i, s.end(), bare) - s.begin();
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
            if (!inside(c == ',' ? '(' : '{') || (c == '=' && !open.back().second.insert(last).second))
                fail(i);  // a key given twice
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
    auto join = [](const std::string& folder, const std::string& name) {
        return folder.empty() ? name : folder + "/" + name;
    };

    ProjectContents contents;
    std::map<std::string, std::string> pathOf;  // object id -> path
    std::function<void(const std::string&, const std::string&)> walk = [&](const std::string& groupId,
                                                                           const std::string& folder) {
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
            auto* into = isa == "PBXSourcesBuildPhase"     ? &contents.compiled
                         : isa == "PBXResourcesBuildPhase" ? &contents.copied
                                                           : nullptr;
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
        if (!std::ranges::count(sources, compiled))
            problems.push_back("compiled by the project but not a device source: " + compiled);
    for (const std::string& file : project.named)
        if (!fs::exists(kRoot / file)) problems.push_back("names a missing file: " + file);
    for (const char* resource :
         {"app/Main.storyboard", "app/LaunchScreen.storyboard", "app/Assets.xcassets", "art.scnassets"})
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
    const fs::path project = scratch.path / "project.pbxproj", scheme = scratch.path / "OrreryAR.xcscheme";
    cmake({"-DOUTPUT=" + project.string(), "-DSCHEME=" + scheme.string(), "-P", (kTools / "generate.cmake").string()});
    const char* regenerate = "OrreryAR.xcodeproj is out of date: run `cmake -P tools/xcodeproj/generate.cmake`";
    EXPECT_TRUE(readFile(project) == readFile(kProject)) << regenerate;
    EXPECT_TRUE(readFile(scheme) == readFile(kScheme)) << regenerate;
}

TEST(XcodeProject, ShowsWarningsWithoutFailingOnThem) {
    // Whoever only wants to run the app must not be stopped by a warning that only a newer
    // compiler gives; CI turns them into errors on its own command lines.
    const Json project = readOldStylePlist(readFile(kProject));
    std::size_t configurations = 0, warning = 0;
    for (const auto& [id, object] : project.at("objects").items()) {
        if (object.value("isa", "") != "XCBuildConfiguration") continue;
        ++configurations;
        const Json& settings = object.at("buildSettings");
        EXPECT_FALSE(settings.contains("GCC_TREAT_WARNINGS_AS_ERRORS")) << object.value("name", id);
        warning += settings.contains("WARNING_CFLAGS");
    }
    EXPECT_EQ(configurations, 4u) << "Debug and Release of the project and of the app target";
    EXPECT_EQ(warning, 2u) << "the project's Debug and Release ask for the warnings";
}

TEST(XcodeProject, SharedSchemeBuildsRunsAndArchivesTheAppTarget) {
    const Json project = readOldStylePlist(readFile(kProject));
    const Json& objects = project.at("objects");
    std::string appTarget, productPath;
    for (const auto& [id, object] : objects.items())
        if (object.value("productType", "") == "com.apple.product-type.application") {
            appTarget = id;
            productPath = objects.at(object.at("productReference").get<std::string>()).value("path", "");
        }
    ASSERT_FALSE(appTarget.empty());

    pugi::xml_document scheme;
    ASSERT_TRUE(scheme.load_file(kScheme.c_str())) << kScheme;
    const std::vector<std::pair<const char*, const char*>> actions{
        {"BuildAction", "BuildActionEntries/BuildActionEntry/BuildableReference"},
        {"LaunchAction", "BuildableProductRunnable/BuildableReference"},
        {"ProfileAction", "BuildableProductRunnable/BuildableReference"}};
    for (const auto& [action, path] : actions) {
        const pugi::xml_node reference = scheme.child("Scheme").child(action).first_element_by_path(path);
        EXPECT_EQ(std::string(reference.attribute("BlueprintIdentifier").value()), appTarget) << action;
        EXPECT_EQ(std::string(reference.attribute("BuildableName").value()), productPath) << action;
        EXPECT_EQ(std::string(reference.attribute("ReferencedContainer").value()), "container:OrreryAR.xcodeproj")
            << action;
    }
    const pugi::xml_node entry =
        scheme.child("Scheme").child("BuildAction").first_element_by_path("BuildActionEntries/BuildActionEntry");
    for (const char* use : {"buildForRunning", "buildForArchiving"})
        EXPECT_STREQ(entry.attribute(use).value(), "YES") << use;
    EXPECT_STREQ(scheme.child("Scheme").child("ArchiveAction").attribute("buildConfiguration").value(), "Release");
}

/// A property list as the platform reads it, freed with the list.
using Plist = std::unique_ptr<std::remove_pointer_t<plist_t>, decltype(&plist_free)>;

Plist readPlist(const fs::path& file) {
    const std::string text = readFile(file);
    plist_t root = nullptr;
    plist_from_xml(text.data(), static_cast<std::uint32_t>(text.size()), &root);
    return {root, &plist_free};
}

/// The string at `key` of a dictionary, or "" when there is no such string.
std::string stringAt(plist_t dict, const char* key) {
    plist_t item = dict ? plist_dict_get_item(dict, key) : nullptr;
    if (!item || plist_get_node_type(item) != PLIST_STRING) return "";
    char* value = nullptr;
    plist_get_string_val(item, &value);
    std::string out = value ? value : "";
    std::free(value);  // the caller owns the copy
    return out;
}

/// The Objective-C methods a file implements, as selectors ("application:didFinishLaunchingWithOptions:").
std::set<std::string> implementedSelectors(const std::string& source) {
    std::set<std::string> selectors;
    std::istringstream lines(source);
    for (std::string line; std::getline(lines, line);) {
        if (!line.starts_with("- (")) continue;
        // After the return type, up to the body: keywords, and each argument as "(type)name".
        const std::size_t from = line.find(')') + 1, to = line.find('{');
        std::string selector;
        for (std::size_t i = from; i < std::min(to, line.size()); ++i) {
            if (line[i] == '(') {
                i = line.find(')', i);
                while (i + 1 < line.size() &&
                       (std::isalnum(static_cast<unsigned char>(line[i + 1])) || line[i + 1] == '_'))
                    ++i;
            } else if (!std::isspace(static_cast<unsigned char>(line[i]))) {
                selector += line[i];
            }
        }
        selectors.insert(selector);
    }
    return selectors;
}

TEST(AppShell, OneWindowSceneMadeFromTheMainStoryboardByADelegateWithNothingOfItsOwn) {
    const Plist info = readPlist(kRoot / "app" / "Info.plist");
    ASSERT_TRUE(info) << "app/Info.plist is not a property list";
    plist_t manifest = plist_dict_get_item(info.get(), "UIApplicationSceneManifest");
    ASSERT_TRUE(manifest) << "no scene manifest: apps built with current SDKs do not launch without one";
    plist_t multiple = plist_dict_get_item(manifest, "UIApplicationSupportsMultipleScenes");
    std::uint8_t supportsMultiple = 1;
    if (multiple && plist_get_node_type(multiple) == PLIST_BOOLEAN) plist_get_bool_val(multiple, &supportsMultiple);
    EXPECT_EQ(supportsMultiple, 0) << "one window: the app keeps process-wide state";
    plist_t configurations = plist_dict_get_item(manifest, "UISceneConfigurations");
    plist_t roles =
        configurations ? plist_dict_get_item(configurations, "UIWindowSceneSessionRoleApplication") : nullptr;
    ASSERT_TRUE(roles && plist_get_node_type(roles) == PLIST_ARRAY);
    ASSERT_EQ(plist_array_get_size(roles), 1u);
    plist_t scene = plist_array_get_item(roles, 0);

    // The storyboard: a real one, copied into the app, not the launch screen, holding the controller.
    const std::string storyboard = stringAt(scene, "UISceneStoryboardFile");
    EXPECT_NE(storyboard, "");
    EXPECT_NE(storyboard, stringAt(info.get(), "UILaunchStoryboardName"));
    const ProjectContents project = readProject(readOldStylePlist(readFile(kProject)));
    EXPECT_TRUE(project.copied.contains("app/" + storyboard + ".storyboard")) << storyboard;
    pugi::xml_document document;
    ASSERT_TRUE(document.load_file((kRoot / "app" / "Base.lproj" / (storyboard + ".storyboard")).c_str()))
        << storyboard;
    const std::string initial = document.child("document").attribute("initialViewController").value();
    const pugi::xml_node controller =
        document.find_node([&](const pugi::xml_node& n) { return initial == n.attribute("id").value(); });
    EXPECT_STREQ(controller.attribute("customClass").value(), "ORViewController");

    // The delegate: declared in app/ as a window scene delegate with a window, implementing nothing.
    const std::string delegate = stringAt(scene, "UISceneDelegateClassName");
    ASSERT_NE(delegate, "");
    const std::string header = readFile(kRoot / "app" / (delegate + ".h"));
    EXPECT_TRUE(header.find("@interface " + delegate + " : UIResponder <UIWindowSceneDelegate>") != std::string::npos)
        << header;
    EXPECT_TRUE(header.find("@property(strong, nonatomic) UIWindow* window;") != std::string::npos) << header;
    const std::string source = readFile(kRoot / "app" / (delegate + ".mm"));
    EXPECT_NE(source.find("@implementation " + delegate), std::string::npos);
    EXPECT_EQ(implementedSelectors(source), std::set<std::string>{});
    EXPECT_TRUE(project.compiled.contains("app/" + delegate + ".mm"));
}

TEST(AppShell, TheApplicationDelegateAnswersExactlyTheApplicationEvents) {
    EXPECT_EQ(implementedSelectors(readFile(kRoot / "app" / "AppDelegate.mm")),
              (std::set<std::string>{"application:didFinishLaunchingWithOptions:", "applicationWillResignActive:",
                                     "applicationDidEnterBackground:", "applicationWillEnterForeground:",
                                     "applicationDidBecomeActive:", "applicationWillTerminate:"}));
    // The selector reader itself: keywords kept, argument names and types dropped.
    EXPECT_EQ(implementedSelectors("- (void)a:(int)x b:(NSSet<X*>*)y {\n}\n- (BOOL)plain {\n}\n"),
              (std::set<std::string>{"a:b:", "plain"}));
}

TEST(DeviceBuildScript, WithoutAnSdkSaysSoInOneLineAndSucceeds) {
    const TempDir dir;
    const std::string sdk = (dir.path / "no-such-sdk" / "iPhoneOS.sdk").string();
    const auto run = runProgram({"/bin/bash", (kRoot / "scripts" / "device-build.sh").string()}, dir.path, "",
                                {"ORRERY_IOS_SDK=" + sdk});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out + run.err, "device build: skipped (no iOS SDK at " + sdk + ")\n");
}

}  // namespace
}  // namespace orrery::testing

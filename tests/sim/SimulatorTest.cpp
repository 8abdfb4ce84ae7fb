// End-to-end runs of the orrery-sim binary: scenario in, JSON lines and exit status out.

#include "content/BodyCatalog.h"
#include "platform/memory/MemoryPlatform.h"

#include "tests/support/Programs.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

using orrery::testing::readFile;
using orrery::testing::TempDir;

struct SimRun : orrery::testing::ProgramRun {
    std::vector<json> lines() const {
        std::vector<json> result;
        std::istringstream in(out);
        for (std::string line; std::getline(in, line);) result.push_back(json::parse(line));
        return result;
    }
};

/// Runs the simulator with `args`; `scenario` is given on standard input.
SimRun runSim(const std::vector<std::string>& args, const std::string& scenario = "") {
    TempDir dir;
    std::vector<std::string> all{ORRERY_SIM_BINARY};
    all.insert(all.end(), args.begin(), args.end());
    return {orrery::testing::runProgram(all, dir.path, scenario)};
}

/// Runs a scenario read from standard input and expects it to end normally.
std::vector<json> scenario(const std::string& text) {
    SimRun run = runSim({"-"}, text);
    EXPECT_EQ(run.status, 0) << "stderr: " << run.err;
    return run.lines();
}

/// The first node named `name`, depth-first.
const json* findNode(const json& node, const std::string& name) {
    if (node["name"] == name) return &node;
    for (const auto& child : node["children"])
        if (const json* found = findNode(child, name)) return found;
    return nullptr;
}

std::vector<std::string> childNames(const json& node) {
    std::vector<std::string> names;
    for (const auto& child : node["children"])
        names.push_back(child["name"].is_string() ? child["name"].get<std::string>() : "");
    return names;
}

class OrrerySimTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (std::string(ORRERY_SIM_BINARY).empty()) GTEST_SKIP() << "orrery-sim is not built";
    }
};

// A pose that puts the centre of the Mars button (at (1.25, -2, -2)) in the middle of the screen.
const std::string kLookAtMarsButton = "camera 0 0 0 -0.558599 -0.702257\n";

}  // namespace

TEST_F(OrrerySimTest, StartSceneDump) {
    auto lines = scenario("dump\n");
    ASSERT_EQ(lines.size(), 1u);
    const json& s = lines[0];

    json head = s;
    head.erase("recognizers");
    head.erase("scene");
    EXPECT_EQ(head, (json{{"time", 1.0 / 60.0},
                          {"selectedBody", 3},
                          {"gestureHandled", false},
                          {"isTextShown", true},
                          {"session", "running"},
                          {"anchors", json::array()},
                          {"openedURLs", json::array()}}));

    std::vector<std::string> expected{"Stars", "Earth", "planetData"};
    for (const auto& button : orrery::BodyCatalog::buttons()) expected.emplace_back(button.nodeName);
    EXPECT_EQ(childNames(s["scene"]), expected);

    const json& earth = s["scene"]["children"][1];
    EXPECT_EQ(earth["scale"], json::parse("[0.5,0.5,0.5]"));
    EXPECT_EQ(earth["position"], json::parse("[0.0,0.0,-2.0]"));
    ASSERT_EQ(earth["actions"].size(), 1u);
    EXPECT_EQ(earth["actions"][0]["key"], "EarthAnimation");
    EXPECT_EQ(earth["actions"][0]["action"]["type"], "repeatForever");
    EXPECT_EQ(earth["actions"][0]["action"]["action"]["type"], "rotateBy");
    EXPECT_TRUE(earth["geometry"].is_null());
    ASSERT_FALSE(earth["children"].empty());

    const json orange = {{"red", 1.0}, {"green", 0.5}, {"blue", 0.0}, {"alpha", 1.0}};
    EXPECT_EQ(s["scene"]["children"][2]["geometry"],  // the fact text's UTF-8 survives
              (json{{"type", "text"},
                    {"string", std::string(orrery::BodyCatalog::earthText)},
                    {"extrusionDepth", 0.2},
                    {"font", {{"name", "Optima"}, {"size", 1.0}}},
                    {"diffuse", orange},
                    {"specular", orange}}));

    EXPECT_EQ(s["recognizers"], json::parse(R"([{"type":"UIPinchGestureRecognizer","action":"didPinch:"},
        {"type":"UIRotationGestureRecognizer","action":"didRotate:"}, {"type":"UIPanGestureRecognizer","action":"didPan:"},
        {"type":"UILongPressGestureRecognizer","action":"didLongPress:","minimumPressDuration":0.5},
        {"type":"UITapGestureRecognizer","action":"didDoubleTap:","numberOfTapsRequired":2,"numberOfTouchesRequired":1}])"));
}

TEST_F(OrrerySimTest, DumpTextKeepsFieldOrderAndReadsBackSameFloats) {
    SimRun run = runSim({"-"}, "features 0.1,-1.4,-2\ntouch 100,700\nframe\ndump\n");
    ASSERT_EQ(run.status, 0) << run.err;
    const std::string& text = run.out;
    const char* order[] = {"{\"time\":",       "\"selectedBody\":", "\"gestureHandled\":",
                           "\"isTextShown\":", "\"session\":",      "\"anchors\":",
                           "\"openedURLs\":",  "\"recognizers\":",  "\"scene\":{\"name\":null,\"position\":"};
    std::size_t at = 0;
    for (const char* key : order) {
        std::size_t found = text.find(key, at);
        ASSERT_NE(found, std::string::npos) << key;
        at = found;
    }
    EXPECT_NE(
        text.find("\"position\":[0.0,0.0,0.0],\"scale\":[1.0,1.0,1.0],\"rotation\":[0.0,0.0,0.0,0.0],\"actions\":[],"
                  "\"geometry\":null,\"children\":["),
        std::string::npos);
    // The button tilt is a float one step below pi/4: printed shortest, read back exactly.
    EXPECT_NE(text.find("[1.0,0.0,0.0,0.7853981]"), std::string::npos);
    auto s = json::parse(text);
    const json& anchor = s["anchors"].at(0)["transform"];
    ASSERT_EQ(anchor.size(), 16u);
    EXPECT_EQ(anchor[12].dump(), "0.1");
    EXPECT_EQ(static_cast<float>(anchor[13].get<double>()), -1.4f);
    EXPECT_EQ(anchor[15], 1.0);
    // The placed copy hangs under a nameless anchor node.
    const json& anchorNode = s["scene"]["children"].back();
    EXPECT_TRUE(anchorNode["name"].is_null());
    ASSERT_EQ(anchorNode["children"].size(), 1u);
    EXPECT_EQ(anchorNode["children"][0]["name"], "Earth");
}

TEST_F(OrrerySimTest, ButtonsViewModesAndHelp) {
    auto lines = scenario("press SolarSystemButton\ndump\n" + kLookAtMarsButton +
                          "touch @MarsButton\ndump\n"
                          "press HelpButton\ndump\n");
    ASSERT_EQ(lines.size(), 3u);

    const json& overview = lines[0];
    EXPECT_EQ(overview["selectedBody"], 3);  // press goes to pressButton only
    const json* label = findNode(overview["scene"], "planetData");
    ASSERT_NE(label, nullptr);
    EXPECT_EQ((*label)["geometry"]["string"], std::string(orrery::BodyCatalog::sunText));

    const json& mars = lines[1];
    EXPECT_EQ(mars["selectedBody"], 6);
    EXPECT_EQ((*findNode(mars["scene"], "planetData"))["geometry"]["string"],
              std::string(orrery::BodyCatalog::marsText));

    const json& help = lines[2];
    EXPECT_EQ(help["selectedBody"], 6);
    ASSERT_EQ(help["openedURLs"].size(), 1u);
    EXPECT_EQ(help["openedURLs"][0]["options"], 0);
    EXPECT_EQ(help["openedURLs"][0]["completion"], false);
    EXPECT_EQ(help["openedURLs"][0]["url"].get<std::string>().rfind("http", 0), 0u);
}

TEST_F(OrrerySimTest, PinchAndLongPressReachThePreparedHit) {
    auto lines = scenario("hits @Earth/mesh\npinch changed 195,400 1.5\ndump\n"
                          "touch 100,700\nframe\n"  // ends the pinch and clears the flag
                          "hits @Earth\nlongpress began 195,400\nframe 2\ndump\n");
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0]["gestureHandled"], true);
    EXPECT_EQ(lines[0]["scene"]["children"][1]["scale"], json::parse("[0.75,0.75,0.75]"));
    // A long press on a node without a mesh path removes the model from the scene.
    EXPECT_EQ(lines[1]["gestureHandled"], true);
    EXPECT_EQ(childNames(lines[1]["scene"])[1], "planetData");
}

TEST_F(OrrerySimTest, CallsReportsEachCallOnce) {
    auto lines = scenario("calls\nhits @Earth/mesh\npinch changed 1,1 2\ncalls\ncalls\n");
    ASSERT_EQ(lines.size(), 3u);
    for (const auto& line : lines) {
        ASSERT_EQ(line.size(), 1u);
        ASSERT_TRUE(line["calls"].is_array());
        for (const auto& call : line["calls"]) {
            ASSERT_EQ(call.size(), 3u);
            EXPECT_TRUE(call["op"].is_string());
            EXPECT_TRUE(call["target"].is_string() || call["target"].is_null());
            EXPECT_TRUE(call["args"].is_array());
        }
    }
    EXPECT_GT(lines[0]["calls"].size(), 35u);  // loading and placing the 35 models
    const json& pinchCalls = lines[1]["calls"];
    EXPECT_TRUE(std::any_of(pinchCalls.begin(), pinchCalls.end(), [](const json& call) {
        return call["op"] == "runAction:forKey:" && call["target"] == "Earth";  // the pinch's scaling
    })) << lines[1].dump();
    EXPECT_TRUE(lines[2]["calls"].empty());
}

TEST_F(OrrerySimTest, BadLinesStopWithLineNumberBeforeRunning) {
    struct Case {
        const char* line;
        const char* mentions;  ///< a word the message must contain
    };
    const Case cases[] = {
        {"jump", "jump"},
        {"touch", "touch"},
        {"camera 0 0 0 0", "camera"},
        {"dump now", "dump"},
        {"advance 1s", "1s"},
        {"camera 0 0 0 nan 0", "nan"},
        {"pinch changed 10,10 1.5x", "1.5x"},
        {"touch 10,ten", "10,ten"},
        {"features 0,1", "0,1"},
        {"frame 1.5", "1.5"},
        {"pinch moving 10,10 1.5", "moving"},
        {"longpress 6 10,10", "6"},
        {"hits @Nowhere", "Nowhere"},
        {"hits Earth", "Earth"},
        {"hits none @Earth", "none"},
        {"touch @Nowhere", "Nowhere"},
        {"touch @\"Mars Button\"", "Mars Button"},
        {"press \"Sun", "\""},
        {"touch @MarsButton", "off screen"},
        {"camera 0 0 0 3.14159 0\ndoubletap @Earth", "off screen"},
    };
    for (const Case& c : cases) {
        std::string text = std::string("dump\n") + c.line + "\ndump\n";
        int badLine = 2 + static_cast<int>(std::count(c.line, c.line + std::strlen(c.line), '\n'));
        SimRun run = runSim({"-"}, text);
        EXPECT_EQ(run.status, 2) << c.line;  // an exit, not a signal
        std::string prefix = "orrery-sim: " + std::to_string(badLine) + ": ";
        EXPECT_EQ(run.err.rfind(prefix, 0), 0u) << c.line << " -> " << run.err;
        EXPECT_NE(run.err.find(c.mentions, prefix.size()), std::string::npos) << c.line << " -> " << run.err;
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
        EXPECT_EQ(run.lines().size(), 1u) << c.line;  // the first dump ran, nothing after the bad line
    }
}

TEST_F(OrrerySimTest, CommandLine) {
    SimRun help = runSim({"--help"});
    EXPECT_EQ(help.status, 0);
    const orrery::memory::SimulatedCamera camera{};
    const auto whole = [](double value) { return std::to_string(std::lround(value)); };
    for (const std::string& fact :
         {whole(camera.viewport.width) + " x " + whole(camera.viewport.height) + " points",
          "vertical field of view " + whole(camera.verticalFieldOfView * 180 / M_PI) + " degrees"})
        EXPECT_NE(help.out.find(fact), std::string::npos) << fact << " in " << help.out;
    for (const char* command :
         {"appear", "disappear", "memorywarning", "camera", "frame", "advance", "hits", "features", "touch", "press",
          "pinch", "rotate", "pan", "longpress", "doubletap", "dump", "calls"})
        EXPECT_NE(help.out.find(std::string("\n  ") + command), std::string::npos) << command;

    for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{{"--frobnicate"},
                                                                                      {"--assets"},
                                                                                      {"/nonexistent/scenario"},
                                                                                      {"/tmp"},
                                                                                      {"a", "b"},
                                                                                      {"--assets", "/nonexistent"}}) {
        SimRun bad = runSim(args);
        EXPECT_EQ(bad.status, 2) << args[0];
        EXPECT_EQ(bad.err.rfind("orrery-sim: ", 0), 0u) << bad.err;
        EXPECT_TRUE(bad.out.empty());
    }

    // A scenario file, quoted names and comments; the session pauses and resumes.
    TempDir dir;
    fs::path file = dir.path / "s.scenario";
    std::ofstream(file) << "# comment\n\ndisappear  # trailing\ndump\nappear\nmemorywarning\nframe 3\nadvance 0.5\n"
                           "press \"Sun Button\"\ndump\n";
    SimRun run = runSim({file.string()});
    ASSERT_EQ(run.status, 0) << run.err;
    auto lines = run.lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0]["session"], "paused");
    EXPECT_EQ(lines[1]["session"], "running");
    EXPECT_NEAR(lines[1]["time"].get<double>(), 4.0 / 60.0 + 0.5, 1.0 / 60.0);
    EXPECT_EQ(lines[1]["selectedBody"], 3);
}

TEST_F(OrrerySimTest, MissingModelStopsAbnormallyAfterOneLine) {
    TempDir dir;
    fs::create_directories(dir.path / "art.scnassets");
    SimRun run = runSim({"--assets", (dir.path / "art.scnassets").string(), "-"}, "dump\n");
    EXPECT_FALSE(run.exited);
    EXPECT_TRUE(run.out.empty());
    EXPECT_EQ(run.err, "orrery-sim: " + (dir.path / "art.scnassets/Stars/Stars.dae").string() +
                           ": cannot open the file: No such file or directory\n");
}

TEST_F(OrrerySimTest, NamesTheLineOfAModelItCannotLoadOrLoadsInPart) {
    // The shipped models, with the Earth's replaced.
    TempDir dir;
    const fs::path assets = dir.path / "art.scnassets", shipped = fs::path(ORRERY_SOURCE_DIR) / "art.scnassets";
    fs::create_directories(assets / "Earth");
    for (const auto& entry : fs::directory_iterator(shipped))
        if (entry.path().filename() != "Earth")
            fs::create_directory_symlink(entry.path(), assets / entry.path().filename());
    for (const auto& entry : fs::directory_iterator(shipped / "Earth"))
        if (entry.path().filename() != "Earth.dae")
            fs::create_symlink(entry.path(), assets / "Earth" / entry.path().filename());
    const std::string earth = readFile(shipped / "Earth/Earth.dae");
    const std::size_t p = earth.find("<p>");
    ASSERT_NE(p, std::string::npos);
    const auto triangles = std::ptrdiff_t(earth.find("<triangles"));
    const std::string line = std::to_string(1 + std::count(earth.begin(), earth.begin() + triangles, '\n'));
    const std::string file = (assets / "Earth/Earth.dae").string();

    std::ofstream(file, std::ios::binary) << std::string(earth).insert(p + 3, "99999 ");
    SimRun partial = runSim({"--assets", assets.string(), "-"}, "dump\n");
    EXPECT_EQ(partial.status, 0) << partial.err;
    EXPECT_TRUE(partial.err.starts_with("orrery-sim: " + file + ":" + line +
                                        ": warning: <triangles> left out: position index 99999 past the"))
        << partial.err;
    EXPECT_EQ(std::count(partial.err.begin(), partial.err.end(), '\n'), 1) << partial.err;
    EXPECT_EQ((*findNode(partial.lines().at(0)["scene"], "EarthMesh"))["geometry"]["triangles"], 0);

    std::ofstream(file, std::ios::binary) << earth.substr(0, p);
    SimRun refused = runSim({"--assets", assets.string(), "-"}, "dump\n");
    EXPECT_FALSE(refused.exited);
    EXPECT_TRUE(refused.err.starts_with("orrery-sim: " + file + ":")) << refused.err;
    EXPECT_NE(refused.err.find(": not well-formed XML: "), std::string::npos) << refused.err;
    EXPECT_EQ(std::count(refused.err.begin(), refused.err.end(), '\n'), 1) << refused.err;

    SimRun check = runSim({"--check-model", file, (shipped / "Mars/Mars.dae").string()});
    EXPECT_EQ(check.status, 2);
    for (const std::string& told : std::vector<std::string>{file + ": refused\n", "Mars.dae: loads\n",
                                                            "node \"MarsMesh\" line ", "mesh: 960 triangles"})
        EXPECT_NE(check.out.find(told), std::string::npos) << told << " in " << check.out;
    EXPECT_EQ(runSim({"--check-model", (shipped / "Mars/Mars.dae").string()}).status, 0);

    // A node named like one of the app's own loads, with a warning.
    std::string named = earth;
    const std::size_t node = named.find("name=\"EarthMesh\"", named.find("<node"));
    named.replace(node, 16, "name=\"planetData\"");
    std::ofstream(file, std::ios::binary) << named;
    SimRun label = runSim({"--check-model", file});
    EXPECT_EQ(label.status, 0);
    EXPECT_NE(label.out.find(file + ": loads with warnings\n"), std::string::npos) << label.out;
    EXPECT_NE(label.err.find(": warning: node \"planetData\" has the info label's name\n"), std::string::npos)
        << label.err;
}

TEST_F(OrrerySimTest, DemoRunsToTheEndWithNarration) {
    SimRun run = runSim({});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_TRUE(run.err.empty()) << run.err;
    for (const char* step : {"> touch @SolarSystemButton", "> touch @HelpButton", "> pinch", "> rotate", "> pan",
                             "> longpress", "> doubletap", "the scene holds:"})
        EXPECT_NE(run.out.find(step), std::string::npos) << step;
    EXPECT_EQ(run.out.find("{\""), std::string::npos);  // dumps are told, not printed raw
}

TEST_F(OrrerySimTest, PreparedHitsReplaceGeometricAnswersOnce) {
    auto lines = scenario(
        // The Earth is straight ahead: a geometric double tap at the centre finds it.
        "doubletap 195,422\ndump\n"
        "touch 195,422\nhits none\ndoubletap 195,422\ndump\n"
        "features none\ntouch 195,800\nframe\ndump\n"
        "touch 195,800\nframe\ndump\n"
        "hits @Earth/mesh\npan changed 1,1 100 -50\nhits @Earth/mesh\nrotate changed 1,1 0.5\ndump\n");
    ASSERT_EQ(lines.size(), 5u);
    EXPECT_EQ(lines[0]["gestureHandled"], true);
    EXPECT_EQ(lines[1]["gestureHandled"], false);  // cleared by the touch; the next tap found nothing
    EXPECT_TRUE(lines[2]["anchors"].empty());
    EXPECT_EQ(lines[3]["anchors"].size(), 1u);  // the room answers again
    const json* earth = findNode(lines[4]["scene"], "Earth");
    ASSERT_NE(earth, nullptr);
    EXPECT_EQ((*earth)["position"], json::parse("[0.1,0.05,-2.0]"));
    EXPECT_TRUE((*earth)["actions"].empty());  // the turn stopped the spin
    EXPECT_EQ(lines[4]["gestureHandled"], true);
}

TEST_F(OrrerySimTest, DetachedModelsCanBeTargetedButNotTouched) {
    SimRun run =
        runSim({"-"}, "hits @Earth\nlongpress began 1,1\nhits @Earth/mesh\ndoubletap 1,1\ndump\ntouch @Earth\n");
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err.rfind("orrery-sim: 6: ", 0), 0u) << run.err;
    auto lines = run.lines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(findNode(lines[0]["scene"], "Earth"), nullptr);
    EXPECT_EQ(lines[0]["gestureHandled"], true);  // the double tap reached the detached model
}

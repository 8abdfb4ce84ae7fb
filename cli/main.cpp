// orrery-sim: runs the app on the in-memory platform from a scripted session.

#include "sim/ModelCheck.h"
#include "sim/Narration.h"
#include "sim/Quoting.h"
#include "sim/Scenario.h"
#include "sim/Simulator.h"
#include "window/LiveSession.h"
// A build for a machine without a display or GL (node, for one) runs scenarios alone: no window
// and no pictures.
#if !defined(ORRERY_WITHOUT_DISPLAY)
#include "render/Snapshot.h"
#include "window/Window.h"
#endif

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <istream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <variant>
#include <vector>

namespace fs = std::filesystem;
using namespace orrery;
using namespace orrery::sim;

namespace {

constexpr int kUsageStatus = 2;

std::string degrees(double radians) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.4g", radians * 180.0 / std::acos(-1.0));
    return buf;
}

std::string helpText() {
    const memory::SimulatedCamera camera{};
    const double aspect = camera.viewport.width / camera.viewport.height;
    const double horizontal = 2.0 * std::atan(std::tan(camera.verticalFieldOfView / 2.0) * aspect);
    char screen[64];
    std::snprintf(screen, sizeof screen, "%g x %g points", camera.viewport.width, camera.viewport.height);
    return std::string() +
           "usage: orrery-sim [--assets DIR] [--snapshot FILE.png [--size WIDTHxHEIGHT]] [SCENARIO]\n"
           "       orrery-sim [--assets DIR] --window [--record FILE] [SCENARIO]\n"
           "       orrery-sim --check-model FILE...\n"
           "       orrery-sim --help\n"
           "\n"
           "Runs Orrery AR against the in-memory platform: loads the models from DIR (an\n"
           "art.scnassets folder or a folder holding one; default: the repository's), lets the\n"
           "view load and appear, runs one frame, then runs SCENARIO line by line (\"-\" reads\n"
           "standard input). Without SCENARIO it runs the shipped demo and tells what happens.\n"
           "With --window it runs SCENARIO (if any), then goes on live in a window: mouse and\n"
           "keys act as fingers and move the device (see docs/window.md); --record FILE writes\n"
           "what happens as a scenario that replays headless to the same state.\n"
           "\n"
           "--snapshot FILE.png writes a picture of the screen when the scenario has run to its\n"
           "end, WIDTHxHEIGHT pixels (default: one pixel per point), as the snapshot command does.\n"
           "\n"
           "Simulated screen: " +
           screen +
           " (x right, y down, origin top left).\n"
           "Camera: vertical field of view " +
           degrees(camera.verticalFieldOfView) + " degrees (horizontal " + degrees(horizontal) +
           "); it starts at the\n"
           "origin looking along -z.\n"
           "\n"
           "Commands, one a line (blank lines and # comments are skipped; words are separated\n"
           "by blanks; a NAME may be written in double quotes to hold blanks):\n" +
           commandSummary() +
           "\n"
           "  POINT   X,Y in screen points, or @NAME: the projected centre of the bounds of the\n"
           "          first node named NAME in the scene (an error if absent or off screen)\n"
           "  TARGET  @NAME (first node so named, detached body models included) or @NAME/mesh\n"
           "          (the first geometry-carrying node of its subtree)\n"
           "  STATE   possible|began|changed|ended|cancelled|failed, or 0-5\n"
           "\n"
           "Exit status: 0 when the scenario ran to its end; 2 for bad usage or a line that\n"
           "cannot be read or resolved (\"orrery-sim: LINE: message\" on standard error); a\n"
           "fatal stop of the app ends the process abnormally, as on the device.\n"
           "--check-model prints what the model loader reads from each COLLADA FILE (nodes,\n"
           "meshes, materials) and what it leaves out; it exits 0 when every FILE loads, 2\n"
           "otherwise. A model that cannot be loaded, or loads with parts left out, is named\n"
           "on standard error as \"orrery-sim: PATH:LINE: ...\" in every mode.\n"
           "See docs/simulator.md for the dump and call-log formats, docs/models.md for models.\n";
}

[[noreturn]] void usageError(const std::string& message) {
    std::cerr << "orrery-sim: " << message << "\n(see orrery-sim --help)\n";
    std::exit(kUsageStatus);
}

/// The folder holding art.scnassets, from the --assets argument.
fs::path assetParentFrom(const std::string& argument) {
    fs::path dir = fs::path(argument).lexically_normal();
    if (dir.filename().empty()) dir = dir.parent_path();
    std::error_code ec;
    if (!fs::is_directory(dir, ec)) usageError("--assets: '" + argument + "' is not a folder");
    if (dir.filename() == "art.scnassets") {
        fs::path parent = fs::absolute(dir, ec).parent_path();
        return parent;
    }
    if (fs::is_directory(dir / "art.scnassets", ec)) return dir;
    usageError("--assets: '" + argument + "' is neither an art.scnassets folder nor holds one");
}

void emit(const std::string& line) {
    // Flushed at once: a fatal stop of the app must not lose what was printed before it.
    std::cout << line << '\n' << std::flush;
}

}  // namespace

int main(int argc, char** argv) {
    std::optional<std::string> assets;
    std::optional<std::string> scenario;
    std::optional<std::string> snapshotFile;
    std::pair<int, int> snapshotSize{0, 0};
    bool window = false;
    std::optional<std::string> recordPath;
    if (argc > 1 && std::string(argv[1]) == "--check-model") {
        if (argc == 2) usageError("--check-model needs at least one FILE");
        return checkModels(std::vector<std::string>(argv + 2, argv + argc), std::cout, std::cerr);
    }
    for (int i = 1; i < argc; ++i) {
        std::string arg = argv[i];
        if (arg == "--help" || arg == "-h") {
            std::cout << helpText();
            return 0;
        }
        if (arg == "--assets") {
            if (i + 1 >= argc) usageError("--assets needs a folder");
            assets = argv[++i];
        } else if (arg.rfind("--assets=", 0) == 0) {
            assets = arg.substr(9);
            if (assets->empty()) usageError("--assets needs a folder");
        } else if (arg == "--snapshot" || arg.rfind("--snapshot=", 0) == 0) {
            if (arg == "--snapshot" && i + 1 >= argc) usageError("--snapshot needs a file");
            snapshotFile = arg == "--snapshot" ? argv[++i] : arg.substr(11);
            if (snapshotFile->empty()) usageError("--snapshot needs a file");
        } else if (arg == "--size" || arg.rfind("--size=", 0) == 0) {
            if (arg == "--size" && i + 1 >= argc) usageError("--size needs WIDTHxHEIGHT");
            const std::string word = arg == "--size" ? argv[++i] : arg.substr(7);
            const auto size = parsePictureSize(word);
            if (!size)
                usageError("--size: bad picture size '" + word + "': expected WIDTHxHEIGHT, each 1 to " +
                           std::to_string(kMaxPictureSide));
            snapshotSize = *size;
        } else if (arg == "--window") {
            window = true;
        } else if (arg == "--record" || arg.rfind("--record=", 0) == 0) {
            if (arg == "--record" && i + 1 >= argc) usageError("--record needs a file");
            recordPath = arg == "--record" ? argv[++i] : arg.substr(9);
            if (recordPath->empty()) usageError("--record needs a file");
        } else if (arg == "--") {
            if (i + 1 < argc) {
                if (scenario || i + 2 < argc) usageError("only one SCENARIO can be given");
                scenario = argv[++i];
            }
        } else if (arg.size() > 1 && arg[0] == '-') {
            usageError("unknown option " + quotedWord(arg));
        } else {
            if (scenario) usageError("only one SCENARIO can be given");
            scenario = arg;
        }
    }

    if (snapshotSize.first && !snapshotFile) usageError("--size goes with --snapshot");
    if (recordPath && !window) usageError("--record works with --window only");
    std::ofstream recordFile;
    if (recordPath) {
        recordFile.open(*recordPath);
        if (!recordFile) usageError("cannot write '" + *recordPath + "'");
    }
    window::Recording recording(recordPath ? &recordFile : nullptr);

    fs::path assetParent = assets ? assetParentFrom(*assets) : memory::MemoryPlatform::defaultAssetParent();

    // Without a scenario the demo runs, narrated.
    const bool narrate = !scenario && !window;
    const std::string path = scenario ? *scenario : std::string(ORRERY_SOURCE_DIR) + "/sim/demo.scenario";
    std::unique_ptr<std::ifstream> file;
    std::istream* input = &std::cin;
    std::istringstream noScenario;
    if (window && !scenario) {
        input = &noScenario;
    } else if (path != "-" || narrate) {
        std::error_code ec;
        if (fs::is_directory(path, ec)) usageError("cannot read scenario '" + path + "': it is a folder");
        file = std::make_unique<std::ifstream>(path);
        if (!*file) usageError("cannot read scenario '" + path + "'");
        input = file.get();
    }

    Simulator simulator(assetParent);
#if !defined(ORRERY_WITHOUT_DISPLAY)
    simulator.snapshotHook = [](const memory::SceneFrame& frame, const fs::path& file, int width, int height) {
        render::snapshot(frame, file, width, height);
    };
#endif
    if (narrate)
        emit("Orrery AR simulator: the demo session (" + path + ").\nThe view loads and appears, and one frame runs.");
    simulator.start();

    std::string text;
    std::size_t lineNumber = 0;
    std::optional<Json> previousDump;
    try {
        while (std::getline(*input, text)) {
            ++lineNumber;
            recording.line(text);
            ScenarioLine line = parseLine(text, lineNumber);
            if (const auto* comment = std::get_if<Comment>(&line)) {
                // "# text" is narration; "#" alone is a paragraph break; other comments stay silent.
                if (narrate && comment->text.empty()) emit("");
                if (narrate && comment->text.rfind(' ', 0) == 0) emit(comment->text.substr(1));
                continue;
            }
            const auto* command = std::get_if<Command>(&line);
            if (!command) continue;
            if (narrate) emit("> " + command->source);
            Output out = simulator.run(*command);
            switch (out.kind) {
            case Output::Kind::dump:
                if (narrate) {
                    std::cout << describeState(out.state, previousDump ? &*previousDump : nullptr, [&](int i) {
                        return simulator.bodyName(i);
                    }) << std::flush;
                    previousDump = std::move(out.state);
                } else
                    emit(jsonLine(out.state));
                break;
            case Output::Kind::calls:
                if (narrate)
                    std::cout << describeCalls(out.calls, out.droppedCalls) << std::flush;
                else
                    emit(callsLine(out.calls, out.droppedCalls));
                break;
            case Output::Kind::none: break;
            }
        }
    } catch (const ScenarioError& error) {
        std::cout.flush();
        std::cerr << "orrery-sim: " << error.line << ": " << error.what() << '\n';
        return kUsageStatus;
    }
    if (input->bad()) {
        std::cerr << "orrery-sim: reading the scenario failed after line " << lineNumber << '\n';
        return kUsageStatus;
    }
    if (snapshotFile) {
        try {
            simulator.snapshot(*snapshotFile, snapshotSize.first, snapshotSize.second, lineNumber);
        } catch (const ScenarioError& error) {
            std::cerr << "orrery-sim: " << error.what() << '\n';
            return kUsageStatus;
        }
    }
#if defined(ORRERY_WITHOUT_DISPLAY)
    if (window) {
        std::cerr << "orrery-sim: no window: this build has no display\n";
        return 2;
    }
#else
    if (window) return window::runWindow(simulator, &recording, emit);
#endif
    return 0;
}

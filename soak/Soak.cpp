// orrery-soak: a long run of random events through the simulator with the invariants checked
// after every one, reporting the rate and the resident memory.
//
//   orrery-soak [--events N] [--seed S] [--max-anchors A]
//
// Events are scenario lines (touches, presses, the five gestures, camera moves, frames,
// lifecycle events, dumps), so the run goes through the same reading and resolving as a
// scenario. Placements stop once A anchors exist, after which the scene no longer grows and
// the resident memory should not either.

#include "sim/Invariants.h"
#include "sim/Scenario.h"
#include "sim/Simulator.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <string>
#include <variant>
#include <vector>

using namespace orrery;

namespace {

struct Options {
    unsigned long events = 1000000;
    unsigned long seed = 1;
    std::size_t maxAnchors = 200;
};

[[noreturn]] void usage(const std::string& message) {
    std::fprintf(stderr, "orrery-soak: %s\nusage: orrery-soak [--events N] [--seed S] [--max-anchors A]\n",
                 message.c_str());
    std::exit(2);
}

Options readOptions(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string name = argv[i];
        if (name == "--help" || name == "-h") usage("runs random events through the simulator");
        if (i + 1 >= argc) usage(name + " needs a value");
        char* end = nullptr;
        const unsigned long value = std::strtoul(argv[++i], &end, 10);
        if (*end != '\0' || argv[i][0] == '\0' || argv[i][0] == '-') usage(name + " needs a whole number");
        if (name == "--events")
            options.events = value;
        else if (name == "--seed")
            options.seed = value;
        else if (name == "--max-anchors")
            options.maxAnchors = value;
        else
            usage("unknown option " + name);
    }
    return options;
}

/// Resident memory in MB, from the kernel's account of this process.
double residentMegabytes() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind("VmRSS:", 0) == 0) return std::strtod(line.c_str() + 6, nullptr) / 1024.0;
    return 0;
}

class EventMaker {
public:
    explicit EventMaker(unsigned long seed) : random_(seed) {}

    /// One or two scenario lines making one event; `placing` tells whether a touch may place a body.
    std::vector<std::string> next(bool placing) {
        // Once placements stop, every touch comes with no feature point, which a touch that
        // misses the buttons would otherwise find in the simulated room.
        const std::string features = placing ? "features " + floorPoint() : "features none";
        switch (pick(20)) {
        case 0:
        case 1:
        case 2: return {features, "touch " + point()};
        case 3: return {"press " + pickOf(kButtons)};
        case 4:
        case 5: return {"hits " + target(), "pinch " + state() + " " + point() + " " + number(0.5, 2.0)};
        case 6:
        case 7: return {"hits " + target(), "rotate " + state() + " " + point() + " " + number(-3, 3)};
        case 8:
        case 9:
            return {"hits " + target(),
                    "pan " + state() + " " + point() + " " + number(-400, 400) + " " + number(-400, 400)};
        case 10: return {"hits " + target(), "longpress " + state() + " " + point()};
        case 11: return {"hits " + target(), "doubletap " + point()};
        case 12:
            return {"camera " + number(-2, 2) + " " + number(-1, 1) + " " + number(-2, 2) + " " + number(-3, 3) + " " +
                    number(-1.5, 1.5)};
        case 13:
        case 14: return {"frame " + std::to_string(1 + pick(3))};
        case 15: return {"advance " + number(0, 0.2)};
        case 16:
            if (pick(2) == 0) return {"features none", "touch " + point()};
            return placing ? std::vector<std::string>{"hits none", "touch " + point()}
                           : std::vector<std::string>{"hits none", "features none", "touch " + point()};
        case 17: return {pickOf(kLifecycle)};
        case 18:
            return placing ? std::vector<std::string>{"touch @" + pickOf(kBodies)}
                           : std::vector<std::string>{"features none", "touch @" + pickOf(kBodies)};
        default: return {pick(50) == 0 ? "dump" : "frame"};
        }
    }

private:
    static constexpr const char* kBodies[] = {"Sun",   "Mercury", "Venus",    "Earth",  "EarthNight", "Moon",
                                              "Mars",  "Ceres",   "Jupiter",  "Saturn", "Uranus",     "Neptune",
                                              "Pluto", "Haumea",  "Makemake", "Eris",   "Stars",      "planetData"};
    static constexpr const char* kButtons[] = {
        "SolarSystemButton", "HelpButton",       "SunButton",    "MercuryButton", "VenusButton",
        "EarthButton",       "EarthNightButton", "MoonButton",   "MarsButton",    "CeresButton",
        "JupiterButton",     "SaturnButton",     "UranusButton", "NeptuneButton", "PlutoButton",
        "HaumeaButton",      "MakemakeButton",   "ErisButton",   "NoSuchButton"};
    static constexpr const char* kLifecycle[] = {"appear", "disappear", "memorywarning", "appear"};
    static constexpr const char* kStates[] = {"possible", "began", "changed",   "changed",
                                              "changed",  "ended", "cancelled", "failed"};

    unsigned pick(unsigned n) { return std::uniform_int_distribution<unsigned>(0, n - 1)(random_); }
    template <std::size_t N>
    std::string pickOf(const char* const (&items)[N]) {
        return items[pick(N)];
    }
    std::string number(double low, double high) {
        char text[32];
        std::snprintf(text, sizeof text, "%.4f", std::uniform_real_distribution<double>(low, high)(random_));
        return text;
    }
    std::string point() { return number(0, 390) + "," + number(0, 844); }
    std::string floorPoint() { return number(-4, 4) + ",-1.4," + number(-4, 4); }
    std::string state() { return pickOf(kStates); }
    std::string target() {
        std::string out = "@";  // appended: GCC 12 at -O3 warns falsely (-Wrestrict) about "@" + string
        out += pickOf(kBodies);
        if (pick(2)) out += "/mesh";
        return out;
    }

    std::mt19937_64 random_;
};

}  // namespace

int main(int argc, char** argv) {
    const Options options = readOptions(argc, argv);
    sim::Simulator simulator(memory::MemoryPlatform::defaultAssetParent());
    simulator.start();
    EventMaker maker(options.seed);

    const double startMemory = residentMegabytes();
    // Resident memory after each tenth of the run, to see whether it keeps growing.
    std::vector<double> tenths;
    double fullSceneMemory = 0;
    unsigned long refused = 0, fullSceneAt = 0;
    std::size_t lineNumber = 0;
    const auto started = std::chrono::steady_clock::now();
    for (unsigned long event = 0; event < options.events; ++event) {
        const bool placing = simulator.platform().view->arSession.anchors.size() < options.maxAnchors;
        if (!placing && fullSceneAt == 0) {
            fullSceneAt = event;
            fullSceneMemory = residentMegabytes();
        }
        for (const auto& line : maker.next(placing)) {
            try {
                const auto read = sim::parseLine(line, ++lineNumber);
                if (const auto* command = std::get_if<sim::Command>(&read)) (void)simulator.run(*command);
            } catch (const sim::ScenarioError&) {
                ++refused;  // a name that did not resolve: nothing ran
            }
        }
        if ((event + 1) * 10 / options.events != event * 10 / options.events) tenths.push_back(residentMegabytes());
        const auto broken = sim::brokenInvariants(simulator);
        if (!broken.empty()) {
            std::fprintf(stderr, "orrery-soak: event %lu (seed %lu): %s\n", event + 1, options.seed,
                         broken.front().c_str());
            return 1;
        }
    }
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    const double endMemory = residentMegabytes();

    std::printf("orrery-soak: %lu events in %.1f s (%.0f events/s), seed %lu; every invariant held after every event\n",
                options.events, seconds, seconds > 0 ? options.events / seconds : 0.0, options.seed);
    std::printf("lines refused (a name that did not resolve): %lu; anchors: %zu; calls kept in the log: %zu\n", refused,
                simulator.platform().view->arSession.anchors.size(), simulator.platform().log->calls().size());
    if (fullSceneAt > 0)
        std::printf(
            "resident memory: %.1f MB at start, %.1f MB when placements stopped (event %lu), %.1f MB at the end\n",
            startMemory, fullSceneMemory, fullSceneAt, endMemory);
    else
        std::printf("resident memory: %.1f MB at start, %.1f MB at the end (placements never stopped)\n", startMemory,
                    endMemory);
    std::printf("resident memory after each tenth of the events (MB):");
    for (const double megabytes : tenths) std::printf(" %.1f", megabytes);
    std::printf("\n");
    return 0;
}

// Whole sessions: arbitrary scenario lines run against the app on the in-memory platform, with
// the invariants checked after every command. Lines the simulator refuses are skipped so that
// the rest of the input still runs.

#include "fuzz/FuzzCheck.h"
#include "sim/Invariants.h"
#include "sim/Simulator.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <variant>

using namespace orrery;

namespace {

constexpr std::size_t kMaxLines = 64;
constexpr unsigned long kMaxFrames = 120;
constexpr double kMaxSeconds = 2;

/// Long runs of frames, and snapshots (which write files), are left out.
bool skipped(const sim::Command& command) {
    return command.verb == sim::Verb::snapshot || (command.verb == sim::Verb::frame && command.frames > kMaxFrames) ||
           (command.verb == sim::Verb::advance && command.numbers.at(0) > kMaxSeconds);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    sim::Simulator simulator(memory::MemoryPlatform::defaultAssetParent());
    simulator.start();
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    for (std::size_t lineNumber = 1; !rest.empty() && lineNumber <= kMaxLines; ++lineNumber) {
        const std::size_t end = rest.find('\n');
        const std::string_view line = rest.substr(0, end);
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
        try {
            const auto read = sim::parseLine(line, lineNumber);
            const auto* command = std::get_if<sim::Command>(&read);
            if (!command || skipped(*command)) continue;
            const sim::Output out = simulator.run(*command);
            if (out.kind == sim::Output::Kind::dump) (void)sim::jsonLine(out.state);
            if (out.kind == sim::Output::Kind::calls) (void)sim::callsLine(out.calls, out.droppedCalls);
        } catch (const sim::ScenarioError&) {
            continue;
        }
        for (const auto& broken : sim::brokenInvariants(simulator))
            fuzz::fail("line " + std::to_string(lineNumber) + ": " + broken);
    }
    return 0;
}

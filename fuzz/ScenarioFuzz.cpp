// The scenario reader on arbitrary lines: each line is read or refused with a ScenarioError
// whose message is short and printable, whatever the line holds.

#include "fuzz/FuzzCheck.h"
#include "sim/Scenario.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <variant>

using namespace orrery;

namespace {

void checkMessage(std::string_view message) {
    fuzz::check(message.size() < 600, "a message longer than 600 bytes");
    for (char c : message)
        fuzz::check(static_cast<unsigned char>(c) >= 0x20 && c != 0x7F, "a control byte in a message");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    std::size_t lineNumber = 0;
    while (!rest.empty()) {
        const std::size_t end = rest.find('\n');
        const std::string_view line = rest.substr(0, end);
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
        try {
            const auto read = sim::parseLine(line, ++lineNumber);
            if (const auto* command = std::get_if<sim::Command>(&read)) {
                fuzz::check(command->frames <= sim::kMaxFramesPerLine, "a frame count beyond the limit");
                if (command->verb == sim::Verb::advance)
                    fuzz::check(command->numbers.at(0) <= sim::kMaxAdvanceSeconds, "an advance beyond the limit");
            }
        } catch (const sim::ScenarioError& error) {
            fuzz::check(error.line == lineNumber, "an error on another line");
            checkMessage(error.what());
        }
    }
    return 0;
}

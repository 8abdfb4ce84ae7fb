// What the simulator does with input meant to break it: huge amounts, numbers that overflow,
// words that cannot be printed, and sessions long enough to fill the call log.

#include "platform/memory/PlatformJson.h"
#include "sim/Narration.h"
#include "sim/Quoting.h"
#include "sim/Scenario.h"
#include "sim/Simulator.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <variant>

using namespace orrery;
using namespace orrery::sim;

namespace {

/// The message parseLine gives for `line`, or "" when it reads the line.
std::string parseMessage(const std::string& line) {
    try {
        parseLine(line, 7);
    } catch (const ScenarioError& error) {
        EXPECT_EQ(error.line, 7u);
        return error.what();
    }
    return "";
}

Command parsed(const std::string& line) { return std::get<Command>(parseLine(line, 1)); }

}  // namespace

TEST(BadInput, AmountsBeyondOneHourAreRefused) {
    struct Case {
        std::string line;
        bool refused;
    };
    const Case cases[] = {
        {"frame 18446744073709551615", true},
        {"frame 99999999999999999999999", true},
        {"frame " + std::to_string(kMaxFramesPerLine + 1), true},
        {"frame " + std::to_string(kMaxFramesPerLine), false},
        {"advance 1e12", true},
        {"advance 3600.001", true},
        {"advance 3600", false},
    };
    for (const auto& c : cases) {
        const std::string message = parseMessage(c.line);
        if (!c.refused) {
            EXPECT_EQ(message, "") << c.line;
            continue;
        }
        EXPECT_NE(message.find("beyond the limit"), std::string::npos) << c.line << " -> " << message;
        EXPECT_NE(message.find(c.line.substr(c.line.find(' ') + 1)), std::string::npos) << message;
    }
    EXPECT_EQ(parsed("frame 216000").frames, 216000u);
    EXPECT_EQ(parsed("advance 3600").numbers.at(0), 3600.0);
}

TEST(BadInput, MessagesQuoteABoundedEscapedPrefix) {
    struct Case {
        std::string word;
        std::string shown;
    };
    const Case cases[] = {
        {"plain", "'plain'"},
        {std::string("a\0b", 3), "'a\\x00b'"},
        {"tab\there\x7F", "'tab\\x09here\\x7F'"},
        {"back\\slash", "'back\\\\slash'"},
        {"\xC3\xBC ok", "'\xC3\xBC ok'"},                           // UTF-8 stays readable
        {"\xFF\xC3(\xED\xA0\x80", "'\\xFF\\xC3(\\xED\\xA0\\x80'"},  // not UTF-8, a surrogate
        {std::string(70, 'x'), std::string("'").append(kQuotedPrefixBytes, 'x').append("... (70 bytes)'")},
        // A character that does not fit the prefix whole is left out whole.
        {std::string(63, 'x') + "\xC3\xBC", std::string("'").append(63, 'x').append("... (65 bytes)'")},
    };
    for (const auto& c : cases) EXPECT_EQ(quotedWord(c.word), c.shown);

    // Whole lines: the message is neither cut at a NUL nor as long as the word.
    const std::string nul = parseMessage(std::string("jump\0ed over", 12));
    EXPECT_NE(nul.find("'jump\\x00ed'"), std::string::npos) << nul;
    EXPECT_NE(nul.find("see orrery-sim --help"), std::string::npos) << nul;
    const std::string huge = parseMessage("advance " + std::string(10 << 20, '9') + "x");
    EXPECT_LT(huge.size(), 200u);
    EXPECT_NE(huge.find("(10485761 bytes)"), std::string::npos) << huge;
}

TEST(BadInput, NumbersThatOverflowAreShownAsSuch) {
    EXPECT_EQ(memory::DumpJson::number(std::numeric_limits<float>::infinity()), "inf");
    EXPECT_EQ(memory::DumpJson::number(-std::numeric_limits<float>::infinity()), "-inf");
    EXPECT_EQ(memory::DumpJson::number(std::nanf("")), "nan");
    EXPECT_EQ(memory::DumpJson::number(-HUGE_VAL), "-inf");

    // One huge pinch, and an ordinary long one: every change event applies the whole accumulated scale.
    for (const int events : {1, 230}) {
        Simulator simulator(memory::MemoryPlatform::defaultAssetParent());
        simulator.start();
        for (int i = 0; i < events; ++i) {
            simulator.run(parsed("hits @Earth/mesh"));
            simulator.run(parsed(events == 1 ? "pinch changed 195,400 1e308" : "pinch changed 195,400 1.5"));
        }
        const Json state = simulator.state();
        const Json& earth = state["scene"]["children"][1];
        ASSERT_EQ(earth["name"], "Earth");
        EXPECT_EQ(earth["scale"], Json::parse(R"(["inf","inf","inf"])")) << events;
        const std::string told = describeState(state, nullptr, [](int) { return std::string("Earth"); });
        EXPECT_NE(told.find("not finite (the arithmetic overflowed): Earth scale"), std::string::npos) << told;
        EXPECT_NE(told.find("Earth at (0, 0, -2), scale inf"), std::string::npos) << told;
    }
}

TEST(BadInput, CallLogKeepsABoundedTailAndCountsWhatItLetGo) {
    memory::CallLog log;
    log.setCapacity(8);
    for (int i = 0; i < 20; ++i) log.record(std::to_string(i), std::nullopt);
    EXPECT_LE(log.calls().size(), 8u);
    const std::size_t dropped = log.droppedUnread();
    EXPECT_EQ(dropped, 20 - log.calls().size());
    auto unread = log.takeNew();
    ASSERT_FALSE(unread.empty());
    EXPECT_EQ(unread.back().op, "19");
    EXPECT_EQ(std::stoul(unread.front().op), dropped);  // the newest are kept, in order
    EXPECT_EQ(log.droppedUnread(), 0u);                 // counted since the previous take only

    // Calls already read go first: six new ones fit once the read ones are let go.
    for (int i = 20; i < 26; ++i) log.record(std::to_string(i), std::nullopt);
    EXPECT_EQ(log.droppedUnread(), 0u);
    unread = log.takeNew();
    ASSERT_EQ(unread.size(), 6u);
    EXPECT_EQ(unread.front().op, "20");

    log.setCapacity(0);
    log.record("kept nowhere", std::nullopt);
    EXPECT_TRUE(log.calls().empty());
    EXPECT_EQ(log.droppedUnread(), 1u);
}

TEST(BadInput, BrowserRequestsKeepABoundedTailAndCountTheRest) {
    Simulator simulator(memory::MemoryPlatform::defaultAssetParent());
    simulator.start();
    const auto requests = [&](int presses) {
        for (int i = 0; i < presses; ++i) simulator.run(parsed("press HelpButton"));
        return simulator.state();
    };
    EXPECT_FALSE(requests(256).contains("openedURLsDropped"));  // nothing let go yet
    const Json state = requests(44);
    const std::size_t kept = state["openedURLs"].size(), dropped = state["openedURLsDropped"].get<std::size_t>();
    EXPECT_EQ(dropped, 128u);  // the older half of the 256 went at once, when the 257th came
    EXPECT_EQ(kept + dropped, 300u);
    const std::string told = describeState(state, nullptr, [](int) { return std::string("Earth"); });
    EXPECT_NE(told.find("browser requests: 300 "), std::string::npos) << told;
}

TEST(BadInput, CallsLineSaysHowManyCallsWereLetGo) {
    Simulator simulator(memory::MemoryPlatform::defaultAssetParent());
    simulator.platform().log->setCapacity(100);
    simulator.start();
    for (int i = 0; i < 3; ++i) simulator.run(parsed("press SolarSystemButton"));
    const Output out = simulator.run(parsed("calls"));
    EXPECT_GT(out.droppedCalls, 0u);
    EXPECT_LE(out.calls.size(), 100u);
    const Json line = Json::parse(callsLine(out.calls, out.droppedCalls));
    EXPECT_EQ(line["dropped"], out.droppedCalls);
    EXPECT_EQ(Json::parse(callsLine(out.calls)).size(), 1u);  // nothing let go, nothing said
    EXPECT_NE(describeCalls(out.calls, out.droppedCalls).find(std::to_string(out.droppedCalls) + " earlier calls"),
              std::string::npos);
    EXPECT_EQ(simulator.run(parsed("calls")).droppedCalls, 0u);
}

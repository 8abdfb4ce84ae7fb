// Mouse input to the controller's events: which events, in which states, at which moments.

#include "window/InputMapping.h"
#include "platform/memory/numbers/NumberText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <sstream>
#include <string>
#include <vector>

namespace orrery::window {
namespace {

using Kind = MouseInput::Kind;
using Button = MouseInput::Button;

/// One step of a case: a mouse input, or time passing (kind unset).
struct Step {
    double time;
    std::optional<Kind> kind;
    CGPoint point{};
    Button button = Button::left;
    bool ctrl = false;
    double wheel = 0;
};

Step press(double t, double x, double y, Button b = Button::left, bool ctrl = false) {
    return {t, Kind::press, {x, y}, b, ctrl};
}
Step move(double t, double x, double y) { return {t, Kind::move, {x, y}}; }
Step release(double t, double x, double y, Button b = Button::left) { return {t, Kind::release, {x, y}, b}; }
Step wheel(double t, double x, double y, double notches) {
    return {t, Kind::wheel, {x, y}, Button::left, false, notches};
}
Step wait(double t) { return {t, std::nullopt}; }
Step cancel(double t) { return {t, std::nullopt, {-1, -1}}; }

/// Lines equal word by word, numbers (also inside X,Y) within 1e-9.
bool sameLine(std::string a, std::string b) {
    std::replace(a.begin(), a.end(), ',', ' ');
    std::replace(b.begin(), b.end(), ',', ' ');
    std::istringstream sa(a), sb(b);
    auto number = [](const std::string& w, double& v) {
        return numbers::readNumber(w.data(), w.data() + w.size(), v).ptr == w.data() + w.size();
    };
    double x = 0, y = 0;
    for (std::string wa, wb; sa >> wa;)
        if (!(sb >> wb) || (number(wa, x) && number(wb, y) ? std::fabs(x - y) > 1e-9 : wa != wb)) return false;
    return !(sb >> a);
}

struct Case {
    const char* name;
    std::vector<Step> steps;
    std::vector<std::string> expected;
};

std::vector<std::string> play(const std::vector<Step>& steps) {
    GestureRecognition recognition;
    MouseFingers fingers(recognition);
    std::vector<std::string> lines;
    for (const auto& s : steps) {
        if (s.kind) {
            fingers.handle({*s.kind, s.button, s.time, s.point, s.ctrl, s.wheel});
        } else if (s.point.x == -1) {
            recognition.cancel(s.time);
            fingers.reset();
        } else {
            fingers.tick(s.time);
            recognition.tick(s.time);
        }
        for (auto& l : recognition.take()) lines.push_back(l);
    }
    return lines;
}

TEST(InputMapping, MouseBecomesTheControllersEvents) {
    const std::vector<Case> cases = {
        {"a click ends a touch once no second tap can follow",
         {press(0, 100, 200), release(0.1, 100, 200), wait(0.44)},
         {}},
        {"... and then it arrives", {press(0, 100, 200), release(0.1, 100, 200), wait(0.45)}, {"touch 100,200"}},
        {"a double click is a double tap and no touch end",
         {press(0, 100, 200), release(0.1, 100, 200), press(0.3, 104, 203), release(0.4, 104, 203), wait(2)},
         {"doubletap 104,203"}},
        {"a second click too late is two touch ends",
         {press(0, 100, 200), release(0.1, 100, 200), wait(0.5), press(0.6, 100, 200), release(0.7, 100, 200), wait(2)},
         {"touch 100,200", "touch 100,200"}},
        {"a second click elsewhere lets the first touch end through at once",
         {press(0, 100, 200), release(0.1, 100, 200), press(0.2, 150, 200), release(0.25, 150, 200), wait(2)},
         {"touch 100,200", "touch 150,200"}},
        {"a drag pans from the moment it leaves 10 points, with no touch end",
         {press(0, 100, 200), move(0.05, 105, 200), move(0.1, 115, 200), move(0.2, 130, 210), release(0.3, 130, 210),
          wait(2)},
         {"pan began 115,200 15 0", "pan changed 130,210 30 10", "pan ended 130,210 30 10"}},
        {"a press held 0.5 s is a long press, moving or not",
         {press(0, 100, 200), wait(0.49), wait(0.5), move(0.6, 103, 200), move(0.7, 140, 200), release(0.8, 140, 200),
          wait(2)},
         {"longpress began 100,200", "longpress changed 103,200", "longpress changed 140,200",
          "longpress ended 140,200"}},
        {"a press released at 0.5 s is a long press already",
         {press(0, 100, 200), release(0.5, 100, 200), wait(2)},
         {"longpress began 100,200", "longpress ended 100,200"}},
        {"a drag before 0.5 s is a pan, never a long press",
         {press(0, 100, 200), move(0.4, 120, 200), wait(1), release(1.1, 120, 200)},
         {"pan began 120,200 20 0", "pan ended 120,200 20 0"}},
        {"a held second press fails the double tap: the first touch ends, then the long press",
         {press(0, 100, 200), release(0.1, 100, 200), press(0.2, 100, 200), wait(0.7), release(0.8, 100, 200), wait(2)},
         {"touch 100,200", "longpress began 100,200", "longpress ended 100,200"}},
        {"a dragged second press fails the double tap before the pan begins",
         {press(0, 100, 200), release(0.1, 100, 200), press(0.2, 100, 200), move(0.3, 100, 230),
          release(0.4, 100, 230)},
         {"touch 100,200", "pan began 100,230 0 30", "pan ended 100,230 0 30"}},
        {"a right drag rotates about the press, clockwise to the right",
         {press(0, 200, 400, Button::right), move(0.1, 205, 400), move(0.2, 215, 400), move(0.3, 230, 400),
          release(0.4, 230, 400, Button::right), wait(2)},
         {"rotate began 200,400 0.15", "rotate changed 200,400 0.3", "rotate ended 200,400 0.3"}},
        {"a left release does not end a right drag",
         {press(0, 200, 400, Button::right), move(0.1, 220, 400), release(0.2, 220, 400), wait(1)},
         {"rotate began 200,400 0.2"}},
        {"Ctrl and a drag up pinches open about the press",
         {press(0, 200, 400, Button::left, true), move(0.1, 200, 397), move(0.2, 200, 370), move(0.3, 200, 430),
          release(0.4, 200, 430)},
         {"pinch began 200,400 " + formatNumber(std::exp(0.2)), "pinch changed 200,400 " + formatNumber(std::exp(-0.2)),
          "pinch ended 200,400 " + formatNumber(std::exp(-0.2))}},
        {"two fingers that make no gesture end their touches at once",
         {press(0, 200, 400, Button::left, true), release(0.1, 200, 400)},
         {"touch 140,400"}},
        {"the wheel pinches: the first notch starts, each further one changes, a pause ends",
         {wheel(0, 200, 400, 1), wheel(0.1, 200, 400, 1), wheel(0.2, 200, 400, -1), wait(0.49), wait(0.5)},
         {"pinch began 200,400 1.1", "pinch changed 200,400 1.21", "pinch changed 200,400 1.1",
          "pinch ended 200,400 1.1"}},
        {"a press ends the wheel's fingers first",
         {wheel(0, 200, 400, 1), wheel(0.1, 200, 400, 1), press(0.2, 10, 20), release(0.25, 10, 20), wait(1)},
         {"pinch began 200,400 1.1", "pinch changed 200,400 1.21", "pinch ended 200,400 1.21", "touch 10,20"}},
        {"losing the focus cancels a recognised gesture and drops a waiting tap",
         {press(0, 100, 200), move(0.1, 100, 240), cancel(0.2), move(0.3, 100, 260), release(0.4, 100, 260),
          press(1, 5, 5), release(1.1, 5, 5), cancel(1.2), wait(3)},
         {"pan began 100,240 0 40", "pan cancelled 100,240 0 40"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        auto got = play(c.steps);
        ASSERT_EQ(got.size(), c.expected.size()) << (got.empty() ? "" : got.front());
        for (std::size_t i = 0; i < got.size(); ++i)
            EXPECT_TRUE(sameLine(got[i], c.expected[i])) << got[i] << " vs " << c.expected[i];
    }
}

/// One event of a touch screen: a finger lands (`+`), moves (`~`) or lifts (`-`); `.` lets time pass.
struct TouchStep {
    double time;
    char what;
    long id = 0;
    CGPoint point{};
};

std::vector<std::string> playTouches(const std::vector<TouchStep>& steps) {
    GestureRecognition recognition;
    TouchFingers fingers(recognition);
    std::vector<std::string> lines;
    for (const auto& s : steps) {
        switch (s.what) {
        case '+': fingers.down(s.time, {s.id, s.point}); break;
        case '~': fingers.moved(s.time, {{s.id, s.point}}); break;
        case '-': fingers.up(s.time, s.id); break;
        default: recognition.tick(s.time);
        }
        for (auto& l : recognition.take()) lines.push_back(l);
    }
    return lines;
}

TEST(InputMapping, RealFingersLandAndLiftOneAtATime) {
    const std::vector<std::pair<const char*, std::vector<TouchStep>>> plays = {
        {"a tap", {{0, '+', 7, {100, 200}}, {0.1, '-', 7}, {1, '.'}}},
        {"a second finger spreading apart pinches from where both were",
         {{0, '+', 1, {200, 400}}, {0.02, '+', 2, {300, 400}}, {0.1, '~', 2, {320, 400}}, {0.2, '~', 2, {350, 400}},
          {0.3, '-', 2}, {0.35, '~', 1, {150, 400}}, {0.4, '-', 1}, {1, '.'}}},
        {"a second finger turning about the first rotates",
         {{0, '+', 1, {200, 400}}, {0.02, '+', 2, {300, 400}}, {0.1, '~', 2, {200 + 100 * std::cos(0.2), 400 + 100 * std::sin(0.2)}},
          {0.2, '-', 1}, {0.3, '-', 2}, {1, '.'}}},
        {"two fingers that lift without a gesture end as one touch at the first",
         {{0, '+', 1, {200, 400}}, {0.02, '+', 2, {300, 400}}, {0.1, '-', 1}, {0.15, '-', 2}, {1, '.'}}},
        {"a finger landing once a pan has begun takes no part",
         {{0, '+', 1, {100, 200}}, {0.1, '~', 1, {130, 200}}, {0.15, '+', 2, {300, 300}}, {0.2, '~', 2, {400, 400}},
          {0.25, '~', 1, {140, 200}}, {0.3, '-', 2}, {0.4, '-', 1}}},
        {"a third finger takes no part, and a finger left down after the end starts nothing",
         {{0, '+', 1, {200, 400}}, {0.01, '+', 2, {300, 400}}, {0.02, '+', 3, {10, 10}}, {0.1, '~', 3, {90, 90}},
          {0.2, '-', 2}, {0.3, '~', 1, {0, 0}}, {0.4, '-', 1}, {0.5, '-', 3}, {2, '.'}}},
        {"a second finger on the second tap fails the double tap",
         {{0, '+', 1, {100, 200}}, {0.1, '-', 1}, {0.2, '+', 1, {100, 200}}, {0.25, '+', 2, {160, 200}},
          {0.3, '-', 1}, {0.35, '-', 2}, {1, '.'}}},
    };
    const std::vector<std::vector<std::string>> expected = {
        {"touch 100,200"},
        {"pinch began 260,400 1.2", "pinch changed 275,400 1.5", "pinch ended 275,400 1.5"},
        {"rotate began " + formatPoint({(400 + 100 * std::cos(0.2)) / 2, (400 + 400 + 100 * std::sin(0.2)) / 2}) + " 0.2",
         "rotate ended " + formatPoint({(400 + 100 * std::cos(0.2)) / 2, (400 + 400 + 100 * std::sin(0.2)) / 2}) + " 0.2"},
        {"touch 200,400"},
        {"pan began 130,200 30 0", "pan changed 140,200 40 0", "pan ended 140,200 40 0"},
        {"touch 200,400"},
        {"touch 100,200", "touch 100,200"},
    };
    ASSERT_EQ(plays.size(), expected.size());
    for (std::size_t c = 0; c < plays.size(); ++c) {
        SCOPED_TRACE(plays[c].first);
        auto got = playTouches(plays[c].second);
        ASSERT_EQ(got.size(), expected[c].size()) << (got.empty() ? "" : got.front());
        for (std::size_t i = 0; i < got.size(); ++i)
            EXPECT_TRUE(sameLine(got[i], expected[c][i])) << got[i] << " vs " << expected[c][i];
    }
}

TEST(InputMapping, DeadlinesTellWhenTimeWillMatter) {
    GestureRecognition recognition;
    EXPECT_FALSE(recognition.deadline());
    recognition.fingersDown(1.0, {{10, 10}});
    EXPECT_DOUBLE_EQ(*recognition.deadline(), 1.5);  // the long press
    recognition.fingersUp(1.2);
    EXPECT_DOUBLE_EQ(*recognition.deadline(), 1.55);  // the double tap gives up
    recognition.tick(1.55);
    EXPECT_FALSE(recognition.deadline());
    EXPECT_EQ(recognition.take(), std::vector<std::string>{"touch 10,10"});
}

TEST(InputMapping, NumbersReadBackExactly) {
    for (double v : {0.1, 1.0 / 3.0, -2.5e-7, 844.0, std::exp(0.2)}) EXPECT_EQ(std::stod(formatNumber(v)), v);
    for (float v : {0.1f, -1.4f, 3.1415925f}) EXPECT_EQ(std::stof(formatFloat(v)), v);
    EXPECT_EQ(formatPoint({195, 422.5}), "195,422.5");
}

}  // namespace
}  // namespace orrery::window

#pragma once
// The scenario language: one command a line, read into plain data.
//
// Reading a line checks everything that does not depend on the running app
// (command names, argument counts, numbers, gesture states). Node names are
// resolved later, against the scene as it is when the line runs.

#include "platform/Types.h"
#include "platform/UIKit.h"

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace orrery::sim {

/// A line the simulator cannot read or run; `line` is 1-based.
class ScenarioError : public std::runtime_error {
public:
    ScenarioError(std::size_t line, const std::string& message) : std::runtime_error(message), line(line) {}
    std::size_t line;
};

enum class Verb {
    appear,
    disappear,
    memorywarning,
    camera,
    frame,
    advance,
    hits,
    features,
    touch,
    press,
    pinch,
    rotate,
    pan,
    longpress,
    doubletap,
    dump,
    calls,
    snapshot,
};

/// A screen point given literally (`X,Y`) or as the projected centre of a node (`@NAME`).
struct PointArg {
    std::optional<CGPoint> literal;
    std::string nodeName;  ///< when not literal
};

/// A node named by `@NAME` or, with `mesh`, by `@NAME/mesh`.
struct TargetArg {
    std::string nodeName;
    bool mesh = false;
};

struct Command {
    Verb verb = Verb::dump;
    std::size_t line = 0;
    std::string source;           ///< the line as written, without surrounding blanks
    std::vector<double> numbers;  ///< camera: x y z yaw pitch; advance; pinch/rotate value; pan tx ty
    unsigned long frames = 1;     ///< frame
    std::optional<UIGestureRecognizerState> state;
    std::optional<PointArg> point;
    std::vector<TargetArg> targets;         ///< hits; empty for `hits none`
    std::vector<SCNVector3> featurePoints;  ///< features; empty for `features none`
    std::string name;                       ///< press; snapshot: the file
    int width = 0, height = 0;              ///< snapshot: picture size in pixels (0: the screen's size in points)
};

/// A `#` line; `text` is everything after the `#`.
struct Comment {
    std::string text;
};

/// Nothing to do (blank line).
struct Blank {};

using ScenarioLine = std::variant<Blank, Comment, Command>;

/// The most frames one `frame` line runs and the most seconds one `advance` line covers (one
/// hour at 60 frames a second), so that every line ends in bounded time; more is refused.
inline constexpr unsigned long kMaxFramesPerLine = 216000;
inline constexpr double kMaxAdvanceSeconds = 3600;

/// Reads one scenario line. Throws ScenarioError for a line it cannot read.
ScenarioLine parseLine(std::string_view text, std::size_t lineNumber);

/// Strict number reading: the whole word must be one finite decimal number.
std::optional<double> parseNumber(std::string_view word);

/// A picture size `WIDTHxHEIGHT` in pixels, each 1 to kMaxPictureSide; nothing when malformed.
std::optional<std::pair<int, int>> parsePictureSize(std::string_view word);
inline constexpr int kMaxPictureSide = 8192;

/// The command words with their argument forms, for the usage text.
std::string commandSummary();

}  // namespace orrery::sim

#include "sim/Scenario.h"
#include "platform/memory/numbers/NumberText.h"

#include "sim/Quoting.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <utility>

namespace orrery::sim {

namespace {

/// One blank-separated word. `quoted[i]` tells whether text[i] came from inside double quotes,
/// so that `@`, `/mesh` and `none` are only recognised when written bare.
struct Word {
    std::string text;
    std::vector<bool> quoted;

    bool bareAt(std::size_t i, char c) const { return i < text.size() && text[i] == c && !quoted[i]; }
    bool isBare(std::string_view w) const {
        if (text != w) return false;
        for (bool q : quoted)
            if (q) return false;
        return true;
    }
};

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v'; }

/// Splits a line into words; returns nothing for a comment line.
std::optional<std::vector<Word>> splitWords(std::string_view text, std::size_t line, std::string& comment) {
    std::vector<Word> words;
    std::size_t i = 0;
    while (true) {
        while (i < text.size() && isBlank(text[i])) ++i;
        if (i == text.size()) break;
        if (text[i] == '#') {
            if (words.empty()) {
                comment = std::string(text.substr(i + 1));
                while (!comment.empty() && isBlank(comment.back())) comment.pop_back();
                return std::nullopt;
            }
            break;  // a trailing comment ends the line
        }
        Word word;
        while (i < text.size() && !isBlank(text[i])) {
            if (text[i] != '"') {
                word.text += text[i++];
                word.quoted.push_back(false);
                continue;
            }
            ++i;
            bool closed = false;
            while (i < text.size()) {
                char c = text[i++];
                if (c == '"') {
                    closed = true;
                    break;
                }
                if (c == '\\' && i < text.size() && (text[i] == '"' || text[i] == '\\')) c = text[i++];
                word.text += c;
                word.quoted.push_back(true);
            }
            if (!closed) throw ScenarioError(line, "unterminated quoted name (missing closing \")");
        }
        words.push_back(std::move(word));
    }
    return words;
}

struct VerbInfo {
    Verb verb;
    const char* name;
    const char* usage;  ///< argument forms, for messages and the usage text
    const char* help;
};

constexpr VerbInfo kVerbs[] = {
    {Verb::appear, "appear", "", "the view will appear (the AR session runs)"},
    {Verb::disappear, "disappear", "", "the view will disappear (the AR session pauses)"},
    {Verb::memorywarning, "memorywarning", "", "a memory warning reaches the view controller"},
    {Verb::camera, "camera", "X Y Z YAW PITCH",
     "device pose in metres and radians for later frames and geometric hit tests;\n"
     "at yaw 0 the camera looks along -z, positive YAW turns left, positive PITCH tilts up"},
    {Verb::frame, "frame", "[N]",
     "runs N frames of 1/60 s (default 1): new anchors are reported, the main queue\n"
     "is drained, actions advance"},
    {Verb::advance, "advance", "SECONDS", "runs frames covering that time"},
    {Verb::hits, "hits", "TARGET... | none", "the next scene hit test returns these nodes, nearest first (or nothing)"},
    {Verb::features, "features", "X,Y,Z... | none",
     "the next feature-point hit test returns hits at these world positions,\n"
     "nearest first (or nothing)"},
    {Verb::touch, "touch", "POINT", "a touch ends at POINT"},
    {Verb::press, "press", "NAME", "calls pressButton with NAME directly"},
    {Verb::pinch, "pinch", "STATE POINT SCALE", "the pinch recogniser acts with that state and scale"},
    {Verb::rotate, "rotate", "STATE POINT RADIANS", "the rotation recogniser acts (radians clockwise on screen)"},
    {Verb::pan, "pan", "STATE POINT TX TY", "the pan recogniser acts with that translation in points"},
    {Verb::longpress, "longpress", "STATE POINT", "the long-press recogniser acts"},
    {Verb::doubletap, "doubletap", "POINT", "the double-tap recogniser acts (state ended)"},
    {Verb::dump, "dump", "", "prints the state as one line of JSON"},
    {Verb::calls, "calls", "", "prints the platform calls since the previous 'calls' as one line of JSON"},
    {Verb::snapshot, "snapshot", "FILE.png [WIDTHxHEIGHT]",
     "writes a picture of the screen as the device would show it (default size:\n"
     "one pixel per point)"},
};

class LineReader {
public:
    LineReader(std::size_t line, const VerbInfo& info, std::vector<Word> args)
        : line_(line), info_(info), args_(std::move(args)) {}

    [[noreturn]] void fail(const std::string& message) const { throw ScenarioError(line_, message); }

    void expectCount(std::size_t min, std::size_t max) const {
        std::size_t n = args_.size();
        if (n >= min && n <= max) return;
        std::string expected = min == max ? std::to_string(min)
                               : max == std::numeric_limits<std::size_t>::max()
                                   ? "at least " + std::to_string(min)
                                   : std::to_string(min) + " or " + std::to_string(max);
        std::string form = *info_.usage ? std::string(" (") + info_.name + " " + info_.usage + ")" : "";
        fail(std::string("'") + info_.name + "' takes " + expected + " argument" +
             (expected == "1" || expected == "at least 1" ? "" : "s") + form + ", got " + std::to_string(n));
    }

    const Word& arg(std::size_t i) const { return args_[i]; }
    std::size_t count() const { return args_.size(); }

    double number(std::size_t i, const char* what) const {
        auto v = parseNumber(args_[i].text);
        if (!v) fail(std::string(what) + " is not a number: " + quotedWord(args_[i].text));
        return *v;
    }

    /// A number that must also fit a 32-bit float (scene coordinates and angles).
    float floatNumber(std::string_view word, const char* what) const {
        auto v = parseNumber(word);
        if (!v) fail(std::string(what) + " is not a number: " + quotedWord(word));
        if (std::fabs(*v) > std::numeric_limits<float>::max())
            fail(std::string(what) + " is out of the 32-bit float range: " + quotedWord(word));
        return static_cast<float>(*v);
    }

    UIGestureRecognizerState state(std::size_t i) const {
        static constexpr const char* names[] = {"possible", "began", "changed", "ended", "cancelled", "failed"};
        const std::string& w = args_[i].text;
        for (int s = 0; s < 6; ++s)
            if (w == names[s] || w == std::to_string(s)) return static_cast<UIGestureRecognizerState>(s);
        fail("bad STATE " + quotedWord(w) + ": expected possible, began, changed, ended, cancelled, failed or 0-5");
    }

    std::string nodeName(const Word& w, std::size_t from, std::size_t to) const {
        std::string name = w.text.substr(from, to - from);
        if (name.empty()) fail("empty node name in " + quotedWord(w.text));
        return name;
    }

    PointArg point(std::size_t i) const {
        const Word& w = args_[i];
        PointArg p;
        if (w.bareAt(0, '@')) {
            p.nodeName = nodeName(w, 1, w.text.size());
            return p;
        }
        auto comma = w.text.find(',');
        if (comma == std::string::npos || w.text.find(',', comma + 1) != std::string::npos)
            fail("bad POINT " + quotedWord(w.text) + ": expected X,Y or @NAME");
        auto x = parseNumber(std::string_view(w.text).substr(0, comma));
        auto y = parseNumber(std::string_view(w.text).substr(comma + 1));
        if (!x || !y) fail("bad POINT " + quotedWord(w.text) + ": X and Y must be numbers");
        p.literal = CGPoint{*x, *y};
        return p;
    }

    TargetArg target(std::size_t i) const {
        const Word& w = args_[i];
        if (!w.bareAt(0, '@')) fail("bad TARGET " + quotedWord(w.text) + ": expected @NAME or @NAME/mesh");
        TargetArg t;
        const std::string suffix = "/mesh";
        std::size_t end = w.text.size();
        if (end > suffix.size() && w.text.compare(end - suffix.size(), suffix.size(), suffix) == 0 &&
            !w.quoted[end - suffix.size()]) {
            t.mesh = true;
            end -= suffix.size();
        }
        t.nodeName = nodeName(w, 1, end);
        return t;
    }

    SCNVector3 featurePoint(std::size_t i) const {
        const std::string& w = args_[i].text;
        std::vector<std::string_view> parts;
        std::string_view rest = w;
        for (std::size_t c; (c = rest.find(',')) != std::string_view::npos; rest.remove_prefix(c + 1))
            parts.push_back(rest.substr(0, c));
        parts.push_back(rest);
        if (parts.size() != 3) fail("bad feature point " + quotedWord(w) + ": expected X,Y,Z");
        return {floatNumber(parts[0], "feature point X"), floatNumber(parts[1], "feature point Y"),
                floatNumber(parts[2], "feature point Z")};
    }

private:
    std::size_t line_;
    const VerbInfo& info_;
    std::vector<Word> args_;
};

constexpr std::size_t kMany = std::numeric_limits<std::size_t>::max();

}  // namespace

std::optional<double> parseNumber(std::string_view word) {
    // from_chars takes no '+'; accept one, but not "+-1".
    if (!word.empty() && word.front() == '+') {
        word.remove_prefix(1);
        if (!word.empty() && word.front() == '-') return std::nullopt;
    }
    double value = 0;
    auto [end, ec] = numbers::readNumber(word.data(), word.data() + word.size(), value);
    if (ec != std::errc() || end != word.data() + word.size() || !std::isfinite(value)) return std::nullopt;
    return value;
}

std::optional<std::pair<int, int>> parsePictureSize(std::string_view word) {
    const std::size_t x = word.find('x');
    if (x == std::string_view::npos) return std::nullopt;
    auto side = [](std::string_view digits) -> std::optional<int> {
        int value = 0;
        auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
        if (digits.empty() || digits.front() == '-' || ec != std::errc() || end != digits.data() + digits.size())
            return std::nullopt;
        if (value < 1 || value > kMaxPictureSide) return std::nullopt;
        return value;
    };
    const auto width = side(word.substr(0, x)), height = side(word.substr(x + 1));
    if (!width || !height) return std::nullopt;
    return std::pair{*width, *height};
}

ScenarioLine parseLine(std::string_view text, std::size_t lineNumber) {
    std::string comment;
    auto words = splitWords(text, lineNumber, comment);
    if (!words) return Comment{comment};
    if (words->empty()) return Blank{};

    const Word& head = words->front();
    const VerbInfo* info = nullptr;
    for (const auto& v : kVerbs)
        if (head.isBare(v.name)) info = &v;
    if (!info) throw ScenarioError(lineNumber, "unknown command " + quotedWord(head.text) + " (see orrery-sim --help)");

    Command cmd;
    cmd.verb = info->verb;
    cmd.line = lineNumber;
    {
        std::size_t b = 0, e = text.size();
        while (b < e && isBlank(text[b])) ++b;
        while (e > b && isBlank(text[e - 1])) --e;
        cmd.source = std::string(text.substr(b, e - b));
    }
    LineReader r(lineNumber, *info, std::vector<Word>(words->begin() + 1, words->end()));

    switch (cmd.verb) {
    case Verb::appear:
    case Verb::disappear:
    case Verb::memorywarning:
    case Verb::dump:
    case Verb::calls: r.expectCount(0, 0); break;
    case Verb::camera: {
        r.expectCount(5, 5);
        static constexpr const char* what[] = {"camera X", "camera Y", "camera Z", "camera YAW", "camera PITCH"};
        for (std::size_t i = 0; i < 5; ++i) cmd.numbers.push_back(r.floatNumber(r.arg(i).text, what[i]));
        break;
    }
    case Verb::frame: {
        r.expectCount(0, 1);
        if (r.count() == 1) {
            const std::string& w = r.arg(0).text;
            unsigned long n = 0;
            auto [end, ec] = std::from_chars(w.data(), w.data() + w.size(), n);
            const bool whole =
                end == w.data() + w.size() && (ec == std::errc() || ec == std::errc::result_out_of_range);
            if (!whole) r.fail("frame count is not a whole number of frames: " + quotedWord(w));
            if (ec != std::errc() || n > kMaxFramesPerLine)
                r.fail("frame count " + quotedWord(w) + " is beyond the limit of " + std::to_string(kMaxFramesPerLine) +
                       " frames a line (one hour)");
            cmd.frames = n;
        }
        break;
    }
    case Verb::advance: {
        r.expectCount(1, 1);
        double s = r.number(0, "SECONDS");
        if (s < 0) r.fail("SECONDS must not be negative: " + quotedWord(r.arg(0).text));
        if (s > kMaxAdvanceSeconds)
            r.fail("SECONDS " + quotedWord(r.arg(0).text) + " is beyond the limit of " +
                   std::to_string(static_cast<int>(kMaxAdvanceSeconds)) + " seconds a line (one hour)");
        cmd.numbers.push_back(s);
        break;
    }
    case Verb::hits:
        r.expectCount(1, kMany);
        if (r.count() == 1 && r.arg(0).isBare("none")) break;
        for (std::size_t i = 0; i < r.count(); ++i) {
            if (r.arg(i).isBare("none")) r.fail("'none' cannot be combined with targets");
            cmd.targets.push_back(r.target(i));
        }
        break;
    case Verb::features:
        r.expectCount(1, kMany);
        if (r.count() == 1 && r.arg(0).isBare("none")) break;
        for (std::size_t i = 0; i < r.count(); ++i) {
            if (r.arg(i).isBare("none")) r.fail("'none' cannot be combined with feature points");
            cmd.featurePoints.push_back(r.featurePoint(i));
        }
        break;
    case Verb::touch:
    case Verb::doubletap:
        r.expectCount(1, 1);
        cmd.point = r.point(0);
        break;
    case Verb::press:
        r.expectCount(1, 1);
        cmd.name = r.arg(0).text;
        break;
    case Verb::pinch:
    case Verb::rotate:
        r.expectCount(3, 3);
        cmd.state = r.state(0);
        cmd.point = r.point(1);
        cmd.numbers.push_back(r.number(2, cmd.verb == Verb::pinch ? "SCALE" : "RADIANS"));
        break;
    case Verb::pan:
        r.expectCount(4, 4);
        cmd.state = r.state(0);
        cmd.point = r.point(1);
        cmd.numbers.push_back(r.number(2, "TX"));
        cmd.numbers.push_back(r.number(3, "TY"));
        break;
    case Verb::longpress:
        r.expectCount(2, 2);
        cmd.state = r.state(0);
        cmd.point = r.point(1);
        break;
    case Verb::snapshot:
        r.expectCount(1, 2);
        cmd.name = r.arg(0).text;
        if (cmd.name.empty()) r.fail("snapshot needs a file name");
        if (r.count() == 2) {
            const auto size = parsePictureSize(r.arg(1).text);
            if (!size)
                r.fail("bad picture size " + quotedWord(r.arg(1).text) + ": expected WIDTHxHEIGHT, each 1 to " +
                       std::to_string(kMaxPictureSide));
            cmd.width = size->first;
            cmd.height = size->second;
        }
        break;
    }
    return cmd;
}

std::string commandSummary() {
    std::string out;
    for (const auto& v : kVerbs) {
        std::string head = std::string("  ") + v.name + (*v.usage ? std::string(" ") + v.usage : "");
        std::string help = v.help;
        std::size_t start = 0;
        bool first = true;
        while (start <= help.size()) {
            std::size_t nl = help.find('\n', start);
            std::string part = help.substr(start, nl == std::string::npos ? std::string::npos : nl - start);
            std::string left = first ? head : "";
            if (first && left.size() >= 28) {
                out += left + "\n";
                left.clear();
            }
            out += left + std::string(28 - left.size(), ' ') + part + "\n";
            first = false;
            if (nl == std::string::npos) break;
            start = nl + 1;
        }
    }
    return out;
}

}  // namespace orrery::sim

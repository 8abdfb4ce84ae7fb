#include "platform/memory/text/GlyphOutlines.h"

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_OUTLINE_H

#include <algorithm>
#include <cmath>
#include <map>

namespace orrery::memory {

namespace {

/// FreeType and the face, opened on first use for the life of the process.
class FaceCache {
public:
    ~FaceCache() {
        if (face_) FT_Done_Face(face_);
        if (library_) FT_Done_FreeType(library_);
    }

    /// The one face every text is laid out in, whatever family its font names, or null when it
    /// cannot be opened. It is bundled (fonts/DejaVuSans.ttf), so that outlines are the same on
    /// every machine and in the browser, which has no font service; the device's own faces are
    /// not free to ship.
    FT_Face face(std::string& file) {
        file = ORRERY_TEXT_FACE;
        if (!opened_) {
            opened_ = true;
            if (!FT_Init_FreeType(&library_) && FT_New_Face(library_, file.c_str(), 0, &face_)) face_ = nullptr;
        }
        return face_;
    }

private:
    FT_Library library_ = nullptr;
    FT_Face face_ = nullptr;
    bool opened_ = false;
};

using Point = std::array<double, 2>;

/// Collects a glyph's outline as flattened contours, in text units, shifted to the pen position.
struct OutlineWalk {
    double scale = 1, penX = 0, penY = 0;
    std::vector<TextContour>* contours = nullptr;  ///< the last point of the last one is the pen's

    Point place(const FT_Vector* v) const { return {penX + scale * double(v->x), penY + scale * double(v->y)}; }

    static double distanceToChord(const Point& p, const Point& a, const Point& b) {
        const double dx = b[0] - a[0], dy = b[1] - a[1];
        const double length = std::hypot(dx, dy);
        if (length == 0) return std::hypot(p[0] - a[0], p[1] - a[1]);
        return std::fabs((p[0] - a[0]) * dy - (p[1] - a[1]) * dx) / length;
    }

    /// Adds a Bezier curve (control points c, ending at `to`) as segments within the flatness.
    void curve(std::vector<Point> c, int depth = 0) {
        double worst = 0;
        for (std::size_t i = 1; i + 1 < c.size(); ++i)
            worst = std::max(worst, distanceToChord(c[i], c.front(), c.back()));
        if (worst <= kTextFlatness || depth > 10) {
            contours->back().push_back(c.back());
            return;
        }
        // de Casteljau split at t = 1/2.
        std::vector<Point> left{c.front()}, right{c.back()}, level = c;
        while (level.size() > 1) {
            std::vector<Point> next;
            for (std::size_t i = 0; i + 1 < level.size(); ++i)
                next.push_back({(level[i][0] + level[i + 1][0]) / 2, (level[i][1] + level[i + 1][1]) / 2});
            left.push_back(next.front());
            right.insert(right.begin(), next.back());
            level = std::move(next);
        }
        curve(std::move(left), depth + 1);
        curve(std::move(right), depth + 1);
    }

    static int moveTo(const FT_Vector* to, void* user) {
        auto* w = static_cast<OutlineWalk*>(user);
        w->contours->push_back({w->place(to)});
        return 0;
    }
    static int lineTo(const FT_Vector* to, void* user) {
        auto* w = static_cast<OutlineWalk*>(user);
        w->contours->back().push_back(w->place(to));
        return 0;
    }
    static int conicTo(const FT_Vector* control, const FT_Vector* to, void* user) {
        auto* w = static_cast<OutlineWalk*>(user);
        w->curve({w->contours->back().back(), w->place(control), w->place(to)});
        return 0;
    }
    static int cubicTo(const FT_Vector* c1, const FT_Vector* c2, const FT_Vector* to, void* user) {
        auto* w = static_cast<OutlineWalk*>(user);
        w->curve({w->contours->back().back(), w->place(c1), w->place(c2), w->place(to)});
        return 0;
    }
};

/// Decodes one UTF-8 character at `i` (advancing it); malformed bytes give U+FFFD.
char32_t nextCodePoint(const std::string& s, std::size_t& i) {
    const auto c = static_cast<unsigned char>(s[i]);
    const std::size_t extra = c < 0x80 ? 0 : (c >> 5) == 0x6 ? 1 : (c >> 4) == 0xE ? 2 : (c >> 3) == 0x1E ? 3 : 4;
    if (extra == 0) return s[i++] == '\n' ? U'\n' : c;
    // A sequence cut short by the end meets the string's terminating zero, no continuation byte.
    if (extra == 4) {
        ++i;
        return U'\uFFFD';
    }
    char32_t cp = c & (0x3F >> extra);
    for (std::size_t k = 1; k <= extra; ++k) {
        const auto next = static_cast<unsigned char>(s[i + k]);
        if ((next & 0xC0) != 0x80) {
            ++i;
            return U'\uFFFD';
        }
        cp = (cp << 6) | (next & 0x3F);
    }
    i += extra + 1;
    return cp;
}

std::shared_ptr<TextLayout> computeLayout(FaceCache& cache, const std::string& text,
                                          const std::optional<TextFont>& font) {
    auto layout = std::make_shared<TextLayout>();
    const double size = font ? font->size : kDefaultTextSize;
    FT_Face face = cache.face(layout->fontFile);
    if (!face || face->units_per_EM == 0) return layout;

    OutlineWalk walk;
    walk.scale = size / face->units_per_EM;
    walk.contours = &layout->contours;
    const FT_Outline_Funcs funcs{
        &OutlineWalk::moveTo, &OutlineWalk::lineTo, &OutlineWalk::conicTo, &OutlineWalk::cubicTo, 0, 0};
    const bool kerning = FT_HAS_KERNING(face);
    FT_UInt previous = 0;
    for (std::size_t i = 0; i < text.size();) {
        const char32_t cp = nextCodePoint(text, i);
        if (cp == U'\n') {
            walk.penX = 0;
            walk.penY -= walk.scale * face->height;
            previous = 0;
            continue;
        }
        const FT_UInt glyph = FT_Get_Char_Index(face, cp);
        if (kerning && previous && glyph) {
            FT_Vector delta{};
            if (!FT_Get_Kerning(face, previous, glyph, FT_KERNING_UNSCALED, &delta))
                walk.penX += walk.scale * double(delta.x);
        }
        previous = glyph;
        if (FT_Load_Glyph(face, glyph, FT_LOAD_NO_SCALE | FT_LOAD_NO_HINTING | FT_LOAD_NO_BITMAP)) continue;
        if (face->glyph->format == FT_GLYPH_FORMAT_OUTLINE) FT_Outline_Decompose(&face->glyph->outline, &funcs, &walk);
        walk.penX += walk.scale * double(face->glyph->advance.x);
    }

    bool first = true;
    for (const TextContour& contour : layout->contours)
        for (const auto& p : contour) {
            const float x = static_cast<float>(p[0]), y = static_cast<float>(p[1]);
            TextBox& box = layout->bounds;
            if (first) box = {{x, y, 0}, {x, y, 0}};
            first = false;
            box = {{std::min(box.min[0], x), std::min(box.min[1], y), 0},
                   {std::max(box.max[0], x), std::max(box.max[1], y), 0}};
        }
    return layout;
}

}  // namespace

std::shared_ptr<TextLayout> outlineText(const std::string& text, const std::optional<TextFont>& font) {
    static FaceCache faces;
    return computeLayout(faces, text, font);
}

#if defined(__SANITIZE_ADDRESS__)
// Mesa's driver and the LLVM it compiles shaders with keep allocations for the life of the
// process in the programs that draw (render/, which builds on this unit); LeakSanitizer is told to overlook those libraries, and only those. A program may
// say this once, so it is said here, in the one unit below every program that lays out text or
// draws.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libEGL_mesa.so\n"
           "leak:libGLX_mesa.so\n"
           "leak:libglapi.so\n"
           "leak:swrast_dri.so\n"
           "leak:kms_swrast_dri.so\n"
           "leak:libgallium\n"
           "leak:libLLVM\n";
}
// Overlooked allocations are not news: a clean run prints nothing on standard error.
// The driver's threads use dynamic TLS. The __tls_get_addr hook of GCC 12's sanitizers records
// a block of it at a bogus address (seen as "DTLS 13 at 0x1189-0x180000228b"), and the leak scan
// at exit crashes reading it, depending on how the test binary happens to be laid out. Without
// the hook only static TLS is scanned; no allocation of this program lives only in dynamic TLS.
extern "C" const char* __lsan_default_options() { return "print_suppressions=0:intercept_tls_get_addr=0"; }
#endif

}  // namespace orrery::memory

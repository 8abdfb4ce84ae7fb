#pragma once
// The layout of three-dimensional text, shared by the hit test (the text geometry's bounding
// box) and the renderer (the glyph outlines it tessellates), so that both see the same shape.
//
// Where the outlines come from is one function, outlineText (platform/memory/text/GlyphOutlines.h):
// FreeTypeOutlines.cpp reads them from the bundled face; a build without FreeType can
// provide it from outlines made beforehand. The cache and the box are shared.
//
// Every font's family is drawn in one face bundled with the unit, DejaVu Sans 2.37
// (fonts/DejaVuSans.ttf, free licence in fonts/LICENSE-DejaVu.txt): the device's "Optima" and
// "Helvetica" cannot be shipped, and one file gives the same outlines on every machine and in
// the browser. Glyph outlines come from FreeType, unhinted, at the font's size in scene units
// (a 1-point font gives glyphs about 1 unit tall); curves are flattened to straight segments
// that stray at most `kTextFlatness` units from the curve, as the text geometry's default
// flatness does, so small fonts come out visibly polygonal, as on the device.
//
// Lines: one per line feed, left-aligned; the first line's baseline is y = 0, each further line
// one line height (the face's ascender to descender plus gap) lower; x grows with the text.

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orrery::memory {

/// Maximum distance, in text units, between a glyph curve and the segments that replace it.
inline constexpr double kTextFlatness = 0.6;
/// Font size of text without a font (the platform's default text font is 36 points).
inline constexpr double kDefaultTextSize = 36.0;

/// A font as the text geometry names it: the family (all drawn in the bundled face) and the size in
/// text units.
struct TextFont {
    std::string name;
    double size = kDefaultTextSize;
};

/// A box in text units.
struct TextBox {
    std::array<float, 3> min{}, max{};
    bool operator==(const TextBox&) const = default;
};

/// A closed glyph contour as a polygon in text units (the last point joins the first).
using TextContour = std::vector<std::array<double, 2>>;

struct TextLayout {
    std::string fontFile;               ///< the face file the outlines came from
    std::vector<TextContour> contours;  ///< every glyph's contours at their place in the text
    /// The box of all contour points in x and y (empty when there is no visible glyph);
    /// z is set by textBounds.
    TextBox bounds;
};

/// The layout of `text` in `font` (null: the default text font at kDefaultTextSize).
/// Layouts are cached for the whole process, which lays out text on one thread only; the
/// result stays valid as long as it is held.
std::shared_ptr<const TextLayout> layoutText(const std::string& text, const std::optional<TextFont>& font);

/// The bounding box of the extruded text: the layout's box in x and y, and the extrusion
/// centred on z = 0 (from -depth/2 to +depth/2); all zero when no glyph is visible.
TextBox textBounds(const TextLayout& layout, double extrusionDepth);

}  // namespace orrery::memory

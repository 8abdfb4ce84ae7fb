// Button faces: a framed panel with its label drawn by FreeType.

#include "AssetGen.h"

#include <ft2build.h>
#include FT_FREETYPE_H

#include <algorithm>
#include <cmath>
#include <memory>
#include <stdexcept>

namespace assetgen {

namespace {

constexpr int kWidth = 512, kHeight = 128, kBorder = 8, kMargin = 36;

struct Library {
    FT_Library handle = nullptr;
    Library() {
        if (FT_Init_FreeType(&handle) != 0) throw std::runtime_error("FreeType failed to start");
    }
    ~Library() { FT_Done_FreeType(handle); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
};

struct Face {
    FT_Face handle = nullptr;
    Face(FT_Library library, const std::filesystem::path& file) {
        if (FT_New_Face(library, file.string().c_str(), 0, &handle) != 0)
            throw std::runtime_error("cannot open font " + file.string());
    }
    ~Face() { FT_Done_Face(handle); }
    Face(const Face&) = delete;
    Face& operator=(const Face&) = delete;
};

/// Walks `text` glyph by glyph from `pen` (26.6 fixed point), kerning included: loads each
/// glyph with `loadFlags` and calls `visit(slot, pen)` before advancing. Returns the end pen.
template <class Visit>
long walkGlyphs(FT_Face face, const std::string& text, long pen, FT_Int32 loadFlags, Visit visit) {
    FT_UInt previous = 0;
    for (unsigned char ch : text) {
        const FT_UInt glyph = FT_Get_Char_Index(face, ch);
        if (previous != 0 && glyph != 0 && FT_HAS_KERNING(face)) {
            FT_Vector kern;
            FT_Get_Kerning(face, previous, glyph, FT_KERNING_DEFAULT, &kern);
            pen += kern.x;
        }
        if (FT_Load_Glyph(face, glyph, loadFlags) != 0) throw std::runtime_error("glyph failed");
        visit(face->glyph, pen);
        pen += face->glyph->advance.x;
        previous = glyph;
    }
    return pen;
}

/// Width in pixels of `text` at the face's current size, kerning included.
int measure(FT_Face face, const std::string& text) {
    const long pen = walkGlyphs(face, text, 0, FT_LOAD_DEFAULT, [](FT_GlyphSlot, long) {});
    return static_cast<int>((pen + 63) >> 6);
}

/// Blends `colour` into the image by the coverage of the glyph bitmap placed at (left, top).
void blendBitmap(Image& image, const FT_Bitmap& bitmap, int left, int top, Colour colour, double opacity) {
    for (unsigned row = 0; row < bitmap.rows; ++row)
        for (unsigned col = 0; col < bitmap.width; ++col) {
            const int x = left + static_cast<int>(col), y = top + static_cast<int>(row);
            if (x < 0 || y < 0 || x >= image.width || y >= image.height) continue;
            const double a = opacity * bitmap.buffer[row * bitmap.pitch + col] / 255.0;
            std::uint8_t* p = image.at(x, y);
            const Colour under{p[0] / 255.0, p[1] / 255.0, p[2] / 255.0};
            put(image, x, y, mix(under, colour, a));
        }
}

void drawText(Image& image, FT_Face face, const std::string& text, int penX, int baseline, Colour colour,
              double opacity) {
    walkGlyphs(face, text, static_cast<long>(penX) << 6, FT_LOAD_RENDER, [&](FT_GlyphSlot slot, long pen) {
        blendBitmap(image, slot->bitmap, static_cast<int>(pen >> 6) + slot->bitmap_left, baseline - slot->bitmap_top,
                    colour, opacity);
    });
}

/// Panel tints: the overview and help buttons stand out from the body buttons.
std::pair<Colour, Colour> panelColours(const std::string& label) {
    if (label == "Solar System") return {{0.42, 0.2, 0.02}, {0.75, 0.4, 0.06}};
    if (label == "Help") return {{0.04, 0.26, 0.12}, {0.1, 0.48, 0.24}};
    return {{0.04, 0.08, 0.24}, {0.1, 0.2, 0.46}};
}

}  // namespace

Image buttonTexture(const std::string& label, const std::filesystem::path& fontFile) {
    Image image(kWidth, kHeight, 3);
    const auto [dark, bright] = panelColours(label);
    const Colour frame{0.62, 0.76, 0.98};
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) {
            const bool border = x < kBorder || y < kBorder || x >= kWidth - kBorder || y >= kHeight - kBorder;
            const bool inner =
                x == kBorder + 4 || y == kBorder + 4 || x == kWidth - kBorder - 5 || y == kHeight - kBorder - 5;
            Colour c = mix(bright, dark, static_cast<double>(y) / (kHeight - 1));
            if (inner) c = mix(c, frame, 0.5);
            if (border) c = frame;
            put(image, x, y, c);
        }

    Library library;
    Face face(library.handle, fontFile);
    // The largest size up to 64 px at which the label fits between the margins.
    int size = 64;
    for (; size > 12; size -= 2) {
        FT_Set_Pixel_Sizes(face.handle, 0, static_cast<FT_UInt>(size));
        if (measure(face.handle, label) <= kWidth - 2 * kMargin) break;
    }
    const int width = measure(face.handle, label);
    const int ascender = static_cast<int>(face.handle->size->metrics.ascender >> 6);
    const int descender = static_cast<int>(face.handle->size->metrics.descender >> 6);
    // Centre the line box (ascender to descender) vertically.
    const int baseline = (kHeight + ascender + descender) / 2;
    const int penX = (kWidth - width) / 2;
    drawText(image, face.handle, label, penX + 3, baseline + 3, {0, 0, 0}, 0.55);
    drawText(image, face.handle, label, penX, baseline, {1, 1, 1}, 1.0);
    return image;
}

}  // namespace assetgen

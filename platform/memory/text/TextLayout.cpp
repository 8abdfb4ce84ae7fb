#include "platform/memory/text/TextLayout.h"

#include "platform/memory/text/GlyphOutlines.h"

#include <algorithm>
#include <map>

namespace orrery::memory {

std::shared_ptr<const TextLayout> layoutText(const std::string& text, const std::optional<TextFont>& font) {
    static std::map<std::string, std::shared_ptr<const TextLayout>> layouts;
    std::string key = font ? font->name + '\0' + std::to_string(font->size) : std::string("\0-", 2);
    key += '\0' + text;
    if (const auto it = layouts.find(key); it != layouts.end()) return it->second;
    if (layouts.size() >= 256) layouts.clear();  // labels change rarely; keep the cache small
    auto layout = outlineText(text, font);
    layouts.emplace(std::move(key), layout);
    return layout;
}

TextBox textBounds(const TextLayout& layout, double extrusionDepth) {
    if (layout.contours.empty()) return {};
    TextBox box = layout.bounds;
    const float half = static_cast<float>(std::max(extrusionDepth, 0.0) / 2.0);
    box.min[2] = -half;
    box.max[2] = half;
    return box;
}

}  // namespace orrery::memory

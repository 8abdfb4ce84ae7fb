#pragma once
// Where glyph outlines come from: the one function a text backend provides. FreeTypeOutlines.cpp
// reads them with FreeType from the face bundled in fonts/; a build without FreeType can
// provide the same function from outlines made beforehand.

#include "platform/memory/text/TextLayout.h"

#include <memory>
#include <optional>
#include <string>

namespace orrery::memory {

/// The layout of `text` in `font` (null: the default text font at kDefaultTextSize), worked
/// out afresh: every glyph's contours at their place, the face used, and the box of the
/// contours. Called by layoutText, which caches the answers.
std::shared_ptr<TextLayout> outlineText(const std::string& text, const std::optional<TextFont>& font);

}  // namespace orrery::memory

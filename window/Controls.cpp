#include "window/Controls.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace orrery::window {

CGPoint ScreenArea::toPoints(double windowX, double windowY) const {
    return {(windowX - x) * points.width / width, (windowY - y) * points.height / height};
}

ScreenArea letterbox(int width, int height, CGSize points) {
    ScreenArea area;
    area.points = points;
    const double scale = std::min(width / points.width, height / points.height);
    area.width = std::max(1, static_cast<int>(std::lround(points.width * scale)));
    area.height = std::max(1, static_cast<int>(std::lround(points.height * scale)));
    area.x = (width - area.width) / 2;
    area.y = (height - area.height) / 2;
    return area;
}

bool ScreenArea::contains(int windowX, int windowY) const {
    return windowX >= x && windowX < x + width && windowY >= y && windowY < y + height;
}

std::optional<CameraKey> cameraKeyNamed(std::string_view name) {
    static constexpr std::pair<std::string_view, CameraKey> kKeys[] = {
        {"W", CameraKey::forward},     {"S", CameraKey::back},       {"A", CameraKey::left},
        {"D", CameraKey::right},       {"R", CameraKey::up},         {"F", CameraKey::down},
        {"Left", CameraKey::turnLeft}, {"Right", CameraKey::turnRight}, {"Up", CameraKey::lookUp},
        {"Down", CameraKey::lookDown},
    };
    for (const auto& [keyName, key] : kKeys)
        if (keyName == name) return key;
    return std::nullopt;
}

}  // namespace orrery::window

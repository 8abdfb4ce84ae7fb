// The renderer's entry for a camera it does not own (an XR session's view): given the simulated
// camera's own view and projection it draws what the camera entry draws, over transparent black
// instead of the room, and only inside its viewport.

#include "platform/memory/MemoryPlatform.h"
#include "render/Gl.h"
#include "render/Snapshot.h"
#include "tests/support/Shapes.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <vector>

namespace {

using namespace orrery;
using Matrix = std::array<float, 16>;

constexpr int kWidth = 160, kHeight = 240;

using orrery::testing::cube;

/// World to eye: the inverse of the camera's pose, computed here in double precision.
Matrix viewOf(const memory::SimulatedCamera& camera) {
    const simd_float4x4 pose = camera.transform();
    Matrix m{};
    for (std::size_t c = 0; c < 3; ++c)
        for (std::size_t r = 0; r < 3; ++r) m[c * 4 + r] = pose.columns[r][c];  // the rotation transposed
    for (std::size_t r = 0; r < 3; ++r) {
        double sum = 0;
        for (std::size_t k = 0; k < 3; ++k)
            sum += static_cast<double>(pose.columns[r][k]) * static_cast<double>(pose.columns[3][k]);
        m[12 + r] = static_cast<float>(-sum);
    }
    m[15] = 1;
    return m;
}

/// The camera's pinhole projection for a viewport of `aspect`, near 1 mm and far 1 km.
Matrix projectionOf(const memory::SimulatedCamera& camera, double aspect) {
    const double f = 1.0 / std::tan(camera.verticalFieldOfView / 2.0), n = 0.001, far = 1000.0;
    Matrix m{};
    m[0] = static_cast<float>(f / aspect);
    m[5] = static_cast<float>(f);
    m[10] = static_cast<float>((far + n) / (n - far));
    m[11] = -1;
    m[14] = static_cast<float>(2.0 * far * n / (n - far));
    return m;
}

/// RGBA bytes of a single-sample framebuffer, rows from the bottom.
using Pixels = std::vector<std::uint8_t>;

class XrViewTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        setenv("LIBGL_ALWAYS_SOFTWARE", "1", 1);
        headless = std::make_unique<render::HeadlessRenderer>(1);  // its context stays current
        renderer = std::make_unique<render::Renderer>();
    }
    static void TearDownTestSuite() {
        renderer.reset();
        headless.reset();
    }

    void SetUp() override {
        platform.view->currentScene = scene;
        glGenRenderbuffers(2, buffers);
        glBindRenderbuffer(GL_RENDERBUFFER, buffers[0]);
        glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, kWidth, kHeight);
        glBindRenderbuffer(GL_RENDERBUFFER, buffers[1]);
        glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH_COMPONENT24, kWidth, kHeight);
        glGenFramebuffers(1, &framebuffer);
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
        glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, buffers[0]);
        glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, buffers[1]);
        ASSERT_EQ(glCheckFramebufferStatus(GL_FRAMEBUFFER), static_cast<GLenum>(GL_FRAMEBUFFER_COMPLETE));
        // A red cube ahead and a half-transparent green one beyond it, seen from a turned,
        // tilted and moved camera: every part of the view matrix matters.
        add(cube(UIColor{1, 0, 0, 1}), {0.3f, 1.2f, -1.8f}, 0.4f);
        add(cube(UIColor{0, 1, 0, 0.5}), {-0.2f, 1.4f, -3.0f}, 0.8f);
        platform.view->camera.position = {0.1f, 1.3f, 0.2f};
        platform.view->camera.yaw = 0.2f;
        platform.view->camera.pitch = -0.1f;
    }
    void TearDown() override {
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        glDeleteFramebuffers(1, &framebuffer);
        glDeleteRenderbuffers(2, buffers);
    }

    void add(std::shared_ptr<SCNGeometry> geometry, SCNVector3 at, float scale) {
        auto node = memory::MemoryNode::make();
        node->assignGeometry(std::move(geometry));
        node->assignPosition(at);
        node->assignScale({scale, scale, scale});
        scene->root()->appendChild(node);
    }

    /// The framebuffer cleared to opaque blue, then `draw` into it, read back.
    Pixels picture(const std::function<void()>& draw) {
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
        glViewport(0, 0, kWidth, kHeight);
        glClearColor(0, 0, 1, 1);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        draw();
        Pixels pixels(static_cast<std::size_t>(kWidth) * kHeight * 4);
        glPixelStorei(GL_PACK_ALIGNMENT, 1);
        glReadPixels(0, 0, kWidth, kHeight, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
        return pixels;
    }

    static inline std::unique_ptr<render::HeadlessRenderer> headless;
    static inline std::unique_ptr<render::Renderer> renderer;
    memory::MemoryPlatform platform{std::filesystem::temp_directory_path()};
    std::shared_ptr<memory::MemoryScene> scene = std::make_shared<memory::MemoryScene>();
    GLuint framebuffer = 0, buffers[2] = {};
};

std::size_t countRed(const Pixels& p) {
    std::size_t n = 0;
    for (std::size_t i = 0; i < p.size(); i += 4) n += p[i] > 200 && p[i + 1] < 50 && p[i + 2] < 50;
    return n;
}

TEST_F(XrViewTest, TheCamerasOwnMatricesDrawWhatTheCameraEntryDrawsOverTransparentBlack) {
    const memory::SceneFrame frame = platform.view->frame();
    render::RenderOptions noRoom;
    noRoom.showCameraImage = false;
    const Pixels camera = picture([&] { renderer->draw(frame, kWidth, kHeight, noRoom); });
    // The room is asked for here: over a live camera it is still left out.
    const Pixels xr = picture([&] {
        renderer->drawView(frame, viewOf(frame.camera), projectionOf(frame.camera, double(kWidth) / kHeight),
                           render::Viewport{0, 0, kWidth, kHeight});
    });
    ASSERT_GT(countRed(camera), 200u);  // the red cube is well in view
    std::size_t drawn = 0, empty = 0, differ = 0;
    for (std::size_t i = 0; i < camera.size(); i += 4) {
        const bool nothing = camera[i] == 0 && camera[i + 1] == 0 && camera[i + 2] == 0;
        if (nothing) {
            ++empty;
            EXPECT_EQ(xr[i + 3], 0) << "pixel " << i / 4 << " should be see-through";
            if (xr[i + 3] != 0) break;
        } else {
            ++drawn;
            for (std::size_t c = 0; c < 3; ++c) differ += std::abs(int(camera[i + c]) - int(xr[i + c])) > 2;
            EXPECT_GT(xr[i + 3], 0) << "pixel " << i / 4 << " should be covered";
            if (xr[i + 3] == 0) break;
        }
    }
    EXPECT_GT(empty, camera.size() / 8);  // most of the view shows the camera feed
    EXPECT_GT(drawn, 300u);
    EXPECT_LE(differ, drawn / 100) << "channels off by more than 2 of " << drawn << " drawn pixels";
}

TEST_F(XrViewTest, OnlyItsViewportIsClearedAndDrawn) {
    const memory::SceneFrame frame = platform.view->frame();
    const int half = kWidth / 2;
    const Pixels xr = picture([&] {
        renderer->drawView(frame, viewOf(frame.camera), projectionOf(frame.camera, double(half) / kHeight),
                           render::Viewport{half, 0, half, kHeight});
    });
    std::size_t blueLeft = 0, transparentRight = 0, drawnRight = 0;
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) {
            const std::size_t i = (static_cast<std::size_t>(y) * kWidth + static_cast<std::size_t>(x)) * 4;
            if (x < half)
                blueLeft += xr[i] == 0 && xr[i + 1] == 0 && xr[i + 2] == 255 && xr[i + 3] == 255;
            else {
                transparentRight += xr[i + 3] == 0;
                drawnRight += xr[i + 3] > 0;
            }
        }
    EXPECT_EQ(blueLeft, static_cast<std::size_t>(half) * kHeight);
    EXPECT_GT(transparentRight, static_cast<std::size_t>(half) * kHeight / 2);
    EXPECT_GT(drawnRight, 100u);  // the cubes are drawn in the right half
}

}  // namespace

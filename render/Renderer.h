#pragma once
// Draws what the in-memory platform's view shows, as the device's AR scene view would.
//
// The renderer is given one frame as plain data (memory::SceneFrame) and never changes it: the
// scene's node tree
// (every mesh at its node's world transform with its material's diffuse texture or colour,
// the info label as extruded 3D text), the AR session's anchors, and the simulated device
// camera (pose and field of view) with the simulated room it films.
//
// It speaks only the part of OpenGL that OpenGL 3.3 core and OpenGL ES 3.0 share, through
// render/Gl.h, so it draws into any such context: a window's (SDL2), a headless one
// (render/Snapshot.h) or a web page's (WebGL 2).

#include "platform/memory/scene/CameraRoom.h"

#include <array>
#include <memory>

namespace orrery::render {

/// What is drawn besides the virtual content, like the scene view's debug options.
struct RenderOptions {
    /// The camera image: the simulated room (floor, walls, furniture) behind the virtual content.
    /// The virtual content never hides behind it, as with a live camera feed.
    bool showCameraImage = true;
    /// Yellow dots where the session finds feature points on the room's surfaces
    /// (ARSCNDebugOptionShowFeaturePoints).
    bool showFeaturePoints = false;
    /// Red, green and blue axes 10 cm long at every anchor the session holds and at the
    /// world origin (ARSCNDebugOptionShowWorldOrigin).
    bool showAnchors = false;
};

/// A rectangle of the framebuffer in pixels, its origin at the bottom left, as glViewport takes it.
struct Viewport {
    int x = 0, y = 0, width = 0, height = 0;
};

/// A renderer bound to one OpenGL context.
///
/// Construct it while an OpenGL 3.3 core or OpenGL ES 3.0 (or later) context is current; every
/// GL object it makes belongs to that context, so destroy it while the same context is current. Not thread-safe: use it on the context's thread.
/// Throws std::runtime_error when the context is too old or a shader does not build.
class Renderer {
public:
    Renderer();
    ~Renderer();
    Renderer(const Renderer&) = delete;
    Renderer& operator=(const Renderer&) = delete;

    /// Draws `frame` into the framebuffer bound now, over the viewport
    /// (0, 0, widthPx, heightPx), clearing it first.
    ///
    /// The view is the simulated device camera (`frame.camera`): its pose, its vertical
    /// field of view and near/far planes of 1 mm and 1 km; the horizontal extent follows
    /// widthPx / heightPx. At the camera's own aspect (390 x 844 points) a pixel is
    /// heightPx / 844 points, so a screen point (x, y) of the simulator lands on pixel
    /// (x * widthPx / 390, y * heightPx / 844) counted from the top left.
    ///
    /// Lighting is what the scene view gives models when the app adds no lights: one neutral
    /// ambient light, so materials show their diffuse colour unshaded, written sRGB-encoded
    /// (texture mip levels are averaged in linear light). Back faces are culled, and meshes whose
    /// box lies outside the view are not drawn; textures with an alpha channel (Saturn's rings,
    /// the star field's sky) are blended after the opaque meshes, far to near.
    ///
    /// Leaves depth testing, culling, blending and scissoring disabled and no program or vertex array bound,
    /// so that an overlay (a user interface panel) can draw afterwards.
    void draw(const memory::SceneFrame& frame, int widthPx, int heightPx, const RenderOptions& options = {}) {
        draw(frame, Viewport{0, 0, widthPx, heightPx}, options);
    }
    /// The same into `viewport` only (a window's picture beside its panel): nothing outside it
    /// is cleared or drawn.
    void draw(const memory::SceneFrame& frame, const Viewport& viewport, const RenderOptions& options = {});

    /// One view of a camera the renderer does not own (an XR session's eye over the live camera
    /// feed): `view` maps world to eye space and `projection` eye to clip space, both column-major
    /// (element (row r, column c) at [c * 4 + r], as WebGL and glUniformMatrix4fv take them).
    /// Draws into `viewport` of the framebuffer bound now as draw() does, with two differences:
    /// the viewport is cleared to transparent black (alpha 0), so the camera feed shows wherever
    /// nothing is drawn, and the simulated room is never drawn (`showCameraImage` is ignored).
    /// Given frame.camera's own view and projection, everything drawn matches draw().
    void drawView(const memory::SceneFrame& frame, const std::array<float, 16>& view,
                  const std::array<float, 16>& projection, const Viewport& viewport,
                  const RenderOptions& options = {});

    /// Frees the GPU copies of meshes, texts and textures no longer used by any scene.
    /// draw() does this by itself from time to time; call it to free memory at once.
    void releaseUnused();

private:
    void drawWith(const memory::SceneFrame& frame, const std::array<float, 16>& view,
                  const std::array<float, 16>& projection, const Viewport& viewport, const RenderOptions& options,
                  bool overCamera);

    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace orrery::render

// The scene renderer: one shader, GPU copies of meshes, texts and textures cached by source,
// and a draw walk over the frame's node tree.

#include "render/Renderer.h"

#include "render/GlMath.h"
#include "render/FrustumCull.h"
#include "render/RoomView.h"
#include "render/TextMesh.h"
#include "render/TextureLevels.h"

#include "render/Gl.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace orrery::render {

namespace {

using memory::MemoryMeshGeometry;
using memory::MemoryNode;
using memory::MemoryTextGeometry;

/// Near and far planes of the AR camera's projection (ARKit's defaults).
constexpr float kNear = 0.001f;
constexpr float kFar = 1000.0f;
/// Cached GPU copies unused for this many frames are candidates for release.
constexpr unsigned kReleaseAfterFrames = 120;

const char* const kVertexShader = R"(
layout(location = 0) in vec3 aPosition;
layout(location = 1) in vec2 aTexCoord;
layout(location = 2) in vec4 aColor;
uniform mat4 uModelViewProjection;
uniform float uPointSize;
out vec2 vTexCoord;
out vec4 vColor;
void main() {
    gl_Position = uModelViewProjection * vec4(aPosition, 1.0);
    gl_PointSize = uPointSize;
    vTexCoord = aTexCoord;
    vColor = aColor;
}
)";

// Every colour source arrives sRGB-encoded (texture bytes as stored, vertex and material colours
// encoded once on upload) and is written unchanged. That is the device's lit colour exactly:
// under the one neutral ambient light an unshaded material shows its diffuse colour, and each
// draw has one colour source (a texture, a material colour, or vertex colours), the others
// white, so no product of encoded values ever mixes two colours.
const char* const kFragmentShader = R"(
precision highp float;
uniform sampler2D uTexture;
uniform bool uUseTexture;
uniform vec4 uColor;
in vec2 vTexCoord;
in vec4 vColor;
out vec4 fragColor;
void main() {
    fragColor = uColor * vColor;
    if (uUseTexture) fragColor *= texture(uTexture, vTexCoord);
}
)";

GLuint compile(GLenum type, const std::string& source) {
    const GLuint shader = glCreateShader(type);
    const char* text = source.c_str();
    glShaderSource(shader, 1, &text, nullptr);
    glCompileShader(shader);
    GLint ok = 0;
    glGetShaderiv(shader, GL_COMPILE_STATUS, &ok);
    if (!ok) {
        char log[1024] = {};
        glGetShaderInfoLog(shader, sizeof log, nullptr, log);
        glDeleteShader(shader);
        throw std::runtime_error(std::string("renderer: shader does not compile: ") + log);
    }
    return shader;
}

/// A vertex array with its buffers. Vertices are interleaved `Vertex` records.
struct GpuMesh {
    GLuint vertexArray = 0, vertexBuffer = 0, indexBuffer = 0;
    GLsizei indexCount = 0;
    unsigned lastUsedFrame = 0;
    std::array<float, 3> lo{}, hi{};  ///< the box of the vertices, for culling

    void upload(const std::vector<Vertex>& vertices, const std::vector<std::uint32_t>& indices) {
        lo = hi = vertices.empty() ? std::array<float, 3>{} : vertices.front().position;
        for (const Vertex& v : vertices)
            for (std::size_t i = 0; i < 3; ++i) {
                lo[i] = std::min(lo[i], v.position[i]);
                hi[i] = std::max(hi[i], v.position[i]);
            }
        if (!vertexArray) {
            glGenVertexArrays(1, &vertexArray);
            glGenBuffers(1, &vertexBuffer);
            glGenBuffers(1, &indexBuffer);
            glBindVertexArray(vertexArray);
            glBindBuffer(GL_ARRAY_BUFFER, vertexBuffer);
            glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, indexBuffer);
            glEnableVertexAttribArray(0);
            glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, sizeof(Vertex),
                                  reinterpret_cast<void*>(offsetof(Vertex, position)));
            glEnableVertexAttribArray(1);
            glVertexAttribPointer(1, 2, GL_FLOAT, GL_FALSE, sizeof(Vertex),
                                  reinterpret_cast<void*>(offsetof(Vertex, texCoord)));
            glEnableVertexAttribArray(2);
            glVertexAttribPointer(2, 4, GL_FLOAT, GL_FALSE, sizeof(Vertex),
                                  reinterpret_cast<void*>(offsetof(Vertex, color)));
        } else {
            glBindVertexArray(vertexArray);
            glBindBuffer(GL_ARRAY_BUFFER, vertexBuffer);
        }
        glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(vertices.size() * sizeof(Vertex)), vertices.data(),
                     GL_STATIC_DRAW);
        glBufferData(GL_ELEMENT_ARRAY_BUFFER, static_cast<GLsizeiptr>(indices.size() * sizeof(std::uint32_t)),
                     indices.data(), GL_STATIC_DRAW);
        indexCount = static_cast<GLsizei>(indices.size());
        glBindVertexArray(0);
    }

    void release() {
        if (!vertexArray) return;
        glDeleteVertexArrays(1, &vertexArray);
        glDeleteBuffers(1, &vertexBuffer);
        glDeleteBuffers(1, &indexBuffer);
        vertexArray = vertexBuffer = indexBuffer = 0;
    }
};

struct GpuTexture {
    GLuint name = 0;  ///< 0 when the image could not be read
    bool translucent = false;
    unsigned lastUsedFrame = 0;
};

/// A cached GPU copy of a geometry: valid while the geometry it was made from is alive.
struct CachedGeometry {
    std::weak_ptr<const SCNGeometry> source;
    std::string textKey;  ///< for texts: what the mesh was made from (string, font, depth)
    GpuMesh mesh;
};

/// One mesh to draw this frame.
struct DrawItem {
    const GpuMesh* mesh = nullptr;
    const GpuTexture* texture = nullptr;
    Colour colour{1, 1, 1, 1};
    Matrix modelViewProjection;
    float viewDepth = 0;  ///< distance along the view direction, for ordering translucent items
    bool translucent = false;
};

/// A material colour as the shader takes it: sRGB-encoded, as UIColor components are.
Colour encodedColour(const UIColor& c) {
    return {static_cast<float>(c.red), static_cast<float>(c.green), static_cast<float>(c.blue),
            static_cast<float>(c.alpha)};
}

/// Vertex colours (built in linear light) encoded for the shader.
void encodeColours(std::vector<Vertex>& vertices) {
    for (Vertex& v : vertices)
        for (std::size_t c = 0; c < 3; ++c) v.color[c] = linearToSrgb(v.color[c]);
}

}  // namespace

struct Renderer::State {
    GLuint program = 0;
    GLint modelViewProjection = -1, pointSize = -1, texture = -1, useTexture = -1, colour = -1;
    std::map<const SCNGeometry*, CachedGeometry> geometries;
    std::map<std::string, GpuTexture> textures;
    GpuMesh room, featurePoints, axes;
    std::vector<Vertex> roomVertices;  ///< what `room` holds: uploaded again only when the room changes
    unsigned frame = 0;
    bool desktop = true;

    State() {
        desktop = gl::isDesktop();
        const int version = gl::version();
        if (desktop ? version < 33 : version < 30)
            throw std::runtime_error("renderer: needs OpenGL 3.3 core or OpenGL ES 3.0, the context offers " +
                                     std::to_string(version / 10) + "." + std::to_string(version % 10));
        const std::string header = desktop ? "#version 330 core\n" : "#version 300 es\n";
        const GLuint vertex = compile(GL_VERTEX_SHADER, header + kVertexShader);
        const GLuint fragment = compile(GL_FRAGMENT_SHADER, header + kFragmentShader);
        program = glCreateProgram();
        glAttachShader(program, vertex);
        glAttachShader(program, fragment);
        glLinkProgram(program);
        glDeleteShader(vertex);
        glDeleteShader(fragment);
        GLint ok = 0;
        glGetProgramiv(program, GL_LINK_STATUS, &ok);
        if (!ok) {
            glDeleteProgram(program);
            throw std::runtime_error("renderer: shader program does not link");
        }
        modelViewProjection = glGetUniformLocation(program, "uModelViewProjection");
        pointSize = glGetUniformLocation(program, "uPointSize");
        texture = glGetUniformLocation(program, "uTexture");
        useTexture = glGetUniformLocation(program, "uUseTexture");
        colour = glGetUniformLocation(program, "uColor");
    }

    ~State() {
        for (auto& [key, cached] : geometries) cached.mesh.release();
        for (auto& [path, tex] : textures)
            if (tex.name) glDeleteTextures(1, &tex.name);
        room.release();
        featurePoints.release();
        axes.release();
        glDeleteProgram(program);
    }

    const GpuTexture& textureFor(const std::string& path) {
        auto [it, added] = textures.try_emplace(path);
        GpuTexture& tex = it->second;
        tex.lastUsedFrame = frame;
        if (!added) return tex;
        const TextureImage image = loadTexture(path);
        if (image.levels.empty()) return tex;  // an unreadable image leaves the material's white
        tex.translucent = image.translucent;
        glGenTextures(1, &tex.name);
        glBindTexture(GL_TEXTURE_2D, tex.name);
        glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
        for (std::size_t level = 0; level < image.levels.size(); ++level) {
            const TextureLevel& l = image.levels[level];
            glTexImage2D(GL_TEXTURE_2D, static_cast<GLint>(level), GL_RGBA8, l.width, l.height, 0, GL_RGBA,
                         GL_UNSIGNED_BYTE, l.rgba.data());
        }
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, static_cast<GLint>(image.levels.size()) - 1);
        // The material defaults: clamped, linear filtering, nearest mipmap level.
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_NEAREST);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
        glBindTexture(GL_TEXTURE_2D, 0);
        return tex;
    }

    /// The GPU copy of a mesh or text geometry, made on first use; null for other geometry.
    const GpuMesh* meshFor(const std::shared_ptr<SCNGeometry>& geometry) {
        const auto* mesh = dynamic_cast<const MemoryMeshGeometry*>(geometry.get());
        const auto* text = dynamic_cast<const MemoryTextGeometry*>(geometry.get());
        if (!mesh && !text) return nullptr;
        CachedGeometry& cached = geometries[geometry.get()];
        const std::string textKey = text ? textMeshKey(*text) : std::string();
        const bool stale = cached.source.lock() != geometry || cached.textKey != textKey;
        if (stale || !cached.mesh.vertexArray) {
            cached.source = geometry;
            cached.textKey = textKey;
            std::vector<Vertex> vertices;
            std::vector<std::uint32_t> indices;
            if (mesh) {
                vertices.reserve(mesh->positions.size());
                for (std::size_t i = 0; i < mesh->positions.size(); ++i) {
                    Vertex v;
                    v.position = {mesh->positions[i].x, mesh->positions[i].y, mesh->positions[i].z};
                    if (i < mesh->textureCoordinates.size()) v.texCoord = mesh->textureCoordinates[i];
                    vertices.push_back(v);
                }
                indices = mesh->indices;
            } else {
                buildTextMesh(*text, vertices, indices);
            }
            cached.mesh.upload(vertices, indices);
        }
        cached.mesh.lastUsedFrame = frame;
        return &cached.mesh;
    }

    void collect(const MemoryNode& node, const Matrix& viewProjection, const Matrix& view,
                 std::vector<DrawItem>& items) {
        if (node.nodeGeometry()) {
            const GpuMesh* mesh = meshFor(node.nodeGeometry());
            if (mesh && mesh->indexCount > 0) {
                const Matrix world = fromSimd(node.worldTransform());
                const Matrix modelViewProjection = multiply(viewProjection, world);
                // What the camera cannot see costs nothing more (the label behind the viewer, copies aside).
                if (!outsideView(modelViewProjection, mesh->lo, mesh->hi)) {
                    DrawItem item;
                    item.mesh = mesh;
                    item.modelViewProjection = modelViewProjection;
                    const Matrix inView = multiply(view, world);
                    item.viewDepth = -inView[14];
                    std::shared_ptr<memory::MemoryMaterial> material;
                    if (const auto* m = dynamic_cast<const MemoryMeshGeometry*>(node.nodeGeometry().get()))
                        material = m->materials.empty() ? nullptr : m->materials.front();
                    else if (const auto* t = dynamic_cast<const MemoryTextGeometry*>(node.nodeGeometry().get()))
                        material = t->material;
                    if (material && material->diffuseProperty) {
                        const memory::MaterialContents& contents = material->diffuseProperty->contents;
                        if (const auto* c = std::get_if<UIColor>(&contents)) {
                            item.colour = encodedColour(*c);
                            item.translucent = c->alpha < 1.0;
                        } else if (const auto* path = std::get_if<std::string>(&contents)) {
                            const GpuTexture& tex = textureFor(*path);
                            if (tex.name) item.texture = &tex;
                            item.translucent = tex.translucent;
                        }
                    }
                    items.push_back(item);
                }
            }
        }
        for (const auto& child : node.children()) collect(*child, viewProjection, view, items);
    }

    void drawMesh(const GpuMesh& mesh, GLenum mode, const Matrix& mvp, const Colour& colour, const GpuTexture* tex) {
        glUniformMatrix4fv(modelViewProjection, 1, GL_FALSE, mvp.data());
        glUniform4f(this->colour, colour[0], colour[1], colour[2], colour[3]);
        glUniform1i(useTexture, tex ? 1 : 0);
        if (tex) glBindTexture(GL_TEXTURE_2D, tex->name);
        glBindVertexArray(mesh.vertexArray);
        glDrawElements(mode, mesh.indexCount, GL_UNSIGNED_INT, nullptr);
    }

    void releaseUnused(bool all) {
        for (auto it = geometries.begin(); it != geometries.end();) {
            const bool unused = frame - it->second.mesh.lastUsedFrame > kReleaseAfterFrames;
            if (it->second.source.expired() || (all && it->second.mesh.lastUsedFrame != frame) || unused) {
                it->second.mesh.release();
                it = geometries.erase(it);
            } else
                ++it;
        }
        for (auto it = textures.begin(); it != textures.end();) {
            if ((all && it->second.lastUsedFrame != frame) || frame - it->second.lastUsedFrame > kReleaseAfterFrames) {
                if (it->second.name) glDeleteTextures(1, &it->second.name);
                it = textures.erase(it);
            } else
                ++it;
        }
    }
};

Renderer::Renderer() : state_(std::make_unique<State>()) {}
Renderer::~Renderer() = default;

void Renderer::releaseUnused() { state_->releaseUnused(true); }

void Renderer::draw(const memory::SceneFrame& frame, const Viewport& viewport, const RenderOptions& options) {
    if (viewport.width <= 0 || viewport.height <= 0) {
        ++state_->frame;
        return;
    }
    const memory::SimulatedCamera& camera = frame.camera;
    const Matrix projection =
        perspective(static_cast<float>(camera.verticalFieldOfView),
                    static_cast<float>(viewport.width) / static_cast<float>(viewport.height), kNear, kFar);
    drawWith(frame, rigidInverse(fromSimd(camera.transform())), projection, viewport, options, false);
}

void Renderer::drawView(const memory::SceneFrame& frame, const std::array<float, 16>& view,
                        const std::array<float, 16>& projection, const Viewport& viewport,
                        const RenderOptions& options) {
    drawWith(frame, view, projection, viewport, options, true);
}

void Renderer::drawWith(const memory::SceneFrame& frame, const std::array<float, 16>& view,
                        const std::array<float, 16>& projection, const Viewport& viewport,
                        const RenderOptions& options, bool overCamera) {
    State& s = *state_;
    ++s.frame;
    const int widthPx = viewport.width, heightPx = viewport.height;
    if (widthPx <= 0 || heightPx <= 0) return;
    glViewport(viewport.x, viewport.y, widthPx, heightPx);
    glEnable(GL_SCISSOR_TEST);
    glScissor(viewport.x, viewport.y, widthPx, heightPx);
    // Over a live camera the picture is see-through wherever nothing virtual is drawn.
    glClearColor(0, 0, 0, overCamera ? 0.0f : 1.0f);
    glClearDepthf(1.0f);
    glDepthMask(GL_TRUE);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);

    const Matrix viewProjection = multiply(projection, view);

    glUseProgram(s.program);
    glUniform1i(s.texture, 0);
    glUniform1f(s.pointSize, 1.0f);
    glActiveTexture(GL_TEXTURE0);
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_LESS);
    glEnable(GL_CULL_FACE);
    glCullFace(GL_BACK);
    glFrontFace(GL_CCW);
    glDisable(GL_BLEND);

    const Colour white{1, 1, 1, 1};
    if (options.showCameraImage && frame.room && !overCamera) {
        // The camera feed is a backdrop: drawn with depth, then the depth is forgotten.
        std::vector<Vertex> vertices;
        std::vector<std::uint32_t> indices;
        buildRoom(*frame.room, vertices, indices);
        encodeColours(vertices);
        if (vertices != s.roomVertices || !s.room.vertexArray) {
            s.room.upload(vertices, indices);
            s.roomVertices = std::move(vertices);
        }
        glDisable(GL_CULL_FACE);
        s.drawMesh(s.room, GL_TRIANGLES, viewProjection, white, nullptr);
        glEnable(GL_CULL_FACE);
        glClear(GL_DEPTH_BUFFER_BIT);
    }

    std::vector<DrawItem> items;
    if (frame.root) s.collect(*frame.root, viewProjection, view, items);
    for (const DrawItem& item : items)
        if (!item.translucent)
            s.drawMesh(*item.mesh, GL_TRIANGLES, item.modelViewProjection, item.colour, item.texture);
    std::vector<const DrawItem*> translucent;
    for (const DrawItem& item : items)
        if (item.translucent) translucent.push_back(&item);
    std::stable_sort(translucent.begin(), translucent.end(),
                     [](const DrawItem* a, const DrawItem* b) { return a->viewDepth > b->viewDepth; });
    if (!translucent.empty()) {
        glEnable(GL_BLEND);
        glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
        glDepthMask(GL_FALSE);
        for (const DrawItem* item : translucent)
            s.drawMesh(*item->mesh, GL_TRIANGLES, item->modelViewProjection, item->colour, item->texture);
        glDepthMask(GL_TRUE);
        glDisable(GL_BLEND);
    }

    if (options.showFeaturePoints && frame.room) {
        std::vector<Vertex> vertices;
        std::vector<std::uint32_t> indices;
        buildFeaturePoints(*frame.room, vertices, indices);
        encodeColours(vertices);
        s.featurePoints.upload(vertices, indices);
        gl::enableProgramPointSize();
        glUniform1f(s.pointSize, std::max(2.0f, std::round(3.0f * static_cast<float>(heightPx) / 844.0f)));
        s.drawMesh(s.featurePoints, GL_POINTS, viewProjection, white, nullptr);
        glUniform1f(s.pointSize, 1.0f);
    }
    if (options.showAnchors) {
        std::vector<simd_float4x4> frames{matrix_identity_float4x4()};
        frames.insert(frames.end(), frame.anchors.begin(), frame.anchors.end());
        std::vector<Vertex> vertices;
        std::vector<std::uint32_t> indices;
        buildAxes(frames, vertices, indices);
        encodeColours(vertices);
        s.axes.upload(vertices, indices);
        s.drawMesh(s.axes, GL_LINES, viewProjection, white, nullptr);
    }

    glBindVertexArray(0);
    glBindTexture(GL_TEXTURE_2D, 0);
    glUseProgram(0);
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_CULL_FACE);
    glDisable(GL_BLEND);
    glDisable(GL_SCISSOR_TEST);
    if (s.frame % kReleaseAfterFrames == 0) s.releaseUnused(false);
}

}  // namespace orrery::render

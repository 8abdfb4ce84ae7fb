#include "platform/memory/ColladaLoader.h"

// The reader trusts nothing in the file: every count, stride, offset and index is
// checked against the data actually present, numbers must be finite, and sizes,
// node counts and nesting are capped, so that any input yields a scene or null.

#include <pugixml.hpp>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <charconv>
#include <cmath>
#include <cerrno>
#include <cstring>
#include <limits>
#include <numbers>
#include <string>
#include <unordered_map>
#include <vector>

namespace orrery::memory {

namespace {

constexpr std::uintmax_t kMaxFileBytes = 256u << 20;
constexpr std::size_t kMaxValues = 64u << 20;      // numbers in one array or index list
constexpr std::size_t kMaxVertices = 16u << 20;    // vertices of one mesh
constexpr std::size_t kMaxNodes = 100000;          // nodes of one scene
constexpr int kMaxDepth = 64;                      // node nesting, instance_node chains included
constexpr std::uint32_t kMaxStride = 1024;
constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();

bool isSpace(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }

constexpr std::size_t kMaxReserve = 1u << 20;  // trust a declared count this far when reserving

inline bool isDigit(char c) { return static_cast<unsigned char>(c - '0') < 10; }

/// Reads one decimal number at `p` in a NUL-terminated text (`p` is not whitespace).
/// Numbers of up to 15 significant digits with a small exponent, the forms model files
/// use, are converted by one exact double operation; anything else goes to from_chars.
/// Returns the end of the number, or null when it is not a finite float.
const char* readFloat(const char* p, float& out) {
    static constexpr double kPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                         1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    const char* const start = p;
    const bool negative = *p == '-';
    if (*p == '-' || *p == '+') ++p;
    std::uint64_t mantissa = 0;
    const char* const integerStart = p;
    while (isDigit(*p)) mantissa = mantissa * 10 + static_cast<unsigned>(*p++ - '0');
    int digits = static_cast<int>(p - integerStart);
    int scale = 0;
    if (*p == '.') {
        const char* const fractionStart = ++p;
        while (isDigit(*p)) mantissa = mantissa * 10 + static_cast<unsigned>(*p++ - '0');
        scale = -static_cast<int>(p - fractionStart);
        digits -= scale;
    }
    if (digits == 0) return nullptr;
    const bool exact = digits <= 15;  // leading zeros count here, which only sends more numbers the slow way
    if (*p == 'e' || *p == 'E') {
        ++p;
        const bool negativeExponent = *p == '-';
        if (*p == '-' || *p == '+') ++p;
        if (!isDigit(*p)) return nullptr;
        int exponent = 0;
        while (isDigit(*p)) {
            if (exponent < 100000) exponent = exponent * 10 + (*p - '0');
            ++p;
        }
        scale += negativeExponent ? -exponent : exponent;
    }
    if (exact && scale >= -22 && scale <= 22) {
        const double magnitude = scale < 0 ? static_cast<double>(mantissa) / kPowers[-scale]
                                           : static_cast<double>(mantissa) * kPowers[scale];
        if (magnitude > std::numeric_limits<float>::max()) return nullptr;
        out = static_cast<float>(negative ? -magnitude : magnitude);
        return p;
    }
    const char* const from = *start == '+' ? start + 1 : start;
    const auto [next, ec] = std::from_chars(from, p, out);
    if (ec != std::errc() || next != p || !std::isfinite(out)) return nullptr;
    return p;
}

/// Parses whitespace-separated finite floats from a NUL-terminated text; false on anything
/// else or too many values. `expected` is the declared count, used only to reserve.
bool parseFloats(const char* p, std::vector<float>& out, std::size_t expected = 0) {
    out.clear();
    out.reserve(std::min(expected, kMaxReserve));
    while (true) {
        while (isSpace(*p)) ++p;
        if (*p == '\0') return true;
        float value = 0;
        p = readFloat(p, value);
        if (!p || (*p != '\0' && !isSpace(*p))) return false;
        if (out.size() >= kMaxValues) return false;
        out.push_back(value);
    }
}

/// Parses whitespace-separated unsigned 32-bit integers from a NUL-terminated text.
bool parseIndices(const char* p, std::vector<std::uint32_t>& out, std::size_t expected = 0) {
    out.clear();
    out.reserve(std::min(expected, kMaxReserve));
    while (true) {
        while (isSpace(*p)) ++p;
        if (*p == '\0') return true;
        if (!isDigit(*p)) return false;
        std::uint64_t value = 0;
        const char* const first = p;
        while (isDigit(*p)) value = value * 10 + static_cast<unsigned>(*p++ - '0');
        if (p - first > 10 || value > std::numeric_limits<std::uint32_t>::max()) return false;
        if (*p != '\0' && !isSpace(*p)) return false;
        if (out.size() >= kMaxValues) return false;
        out.push_back(static_cast<std::uint32_t>(value));
    }
}

/// An unsigned attribute; `fallback` when absent, nullopt when malformed.
std::optional<std::uint32_t> unsignedAttribute(const pugi::xml_node& node, const char* name, std::uint32_t fallback) {
    const pugi::xml_attribute attribute = node.attribute(name);
    if (!attribute) return fallback;
    const char* text = attribute.value();
    const char* end = text + std::strlen(text);
    std::uint32_t value = 0;
    const auto [next, ec] = std::from_chars(text, end, value);
    if (ec != std::errc() || next != end) return std::nullopt;
    return value;
}

/// The id of a local reference ("#id"); empty for anything else.
std::string_view localTarget(const char* url) {
    if (url[0] != '#') return {};
    return std::string_view(url + 1);
}

/// Row-major 4x4 in doubles, as COLLADA writes matrices.
struct Matrix {
    double m[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};

    Matrix operator*(const Matrix& b) const {
        Matrix r;
        for (int i = 0; i < 4; ++i)
            for (int j = 0; j < 4; ++j) {
                double sum = 0;
                for (int k = 0; k < 4; ++k) sum += m[i][k] * b.m[k][j];
                r.m[i][j] = sum;
            }
        return r;
    }
};

/// A float source seen through its accessor: element i, component k is
/// data[offset + i * stride + slots[k]], every such position checked to lie in data.
struct Accessor {
    const std::vector<float>* data = nullptr;
    std::uint32_t count = 0, stride = 0, offset = 0;
    std::uint32_t slots[3] = {0, 1, 2};

    float at(std::uint32_t i, int k) const { return (*data)[std::size_t(offset) + std::size_t(i) * stride + slots[k]]; }
};

struct PrimitiveInput {
    enum class Kind { vertex, normal, texcoord } kind;
    std::uint32_t offset;
    std::string_view source;
};

/// Key of an output vertex: the position, normal and texture-coordinate indices of a corner.
struct CornerKey {
    std::uint32_t v, n, t;
    friend bool operator==(const CornerKey&, const CornerKey&) = default;
};
struct CornerKeyHash {
    std::size_t operator()(const CornerKey& k) const {
        std::uint64_t h = k.v * 0x9e3779b97f4a7c15ULL;
        h ^= (k.n + 0x632be59bd9b4e019ULL) * 0xbf58476d1ce4e5b9ULL;
        h ^= (k.t + 0x85ebca77c2b2ae63ULL) * 0x94d049bb133111ebULL;
        return static_cast<std::size_t>(h ^ (h >> 31));
    }
};

/// Gathers the corners of one geometry into de-duplicated vertices and triangle indices.
class MeshBuilder {
public:
    explicit MeshBuilder(MemoryMeshGeometry& mesh) : mesh_(mesh) {}

    /// Adds a corner; false if any index is out of range or the mesh grows too large.
    bool corner(const Accessor& positions, const Accessor* normals, const Accessor* texcoords, CornerKey key) {
        if (key.v >= positions.count) return false;
        if (normals && key.n >= normals->count) return false;
        if (texcoords && key.t >= texcoords->count) return false;
        if (!normals) key.n = kNone;
        if (!texcoords) key.t = kNone;
        std::uint32_t out = kNone;
        // Most files give every position one normal and one texture coordinate: a direct
        // table by position index serves those without hashing.
        // Indices only mean something within one set of sources: start afresh when they change.
        if (&positions != sources_[0] || normals != sources_[1] || texcoords != sources_[2]) {
            sources_ = {&positions, normals, texcoords};
            byPosition_.assign(positions.count, {kNone, kNone, kNone});
            byPositionOut_.assign(positions.count, kNone);
            others_.clear();
        }
        CornerKey& first = byPosition_[key.v];
        if (first.v == kNone) {
            first = key;
            out = append(positions, normals, texcoords, key);
            byPositionOut_[key.v] = out;
        } else if (first == key) {
            out = byPositionOut_[key.v];
        } else {
            auto it = others_.find(key);
            if (it == others_.end()) it = others_.emplace(key, append(positions, normals, texcoords, key)).first;
            out = it->second;
        }
        if (out == kNone) return false;
        mesh_.indices.push_back(out);
        return true;
    }

    /// Makes room for `corners` more corners over `vertices` distinct positions.
    void reserve(std::size_t corners, std::size_t vertices) {
        mesh_.indices.reserve(mesh_.indices.size() + std::min(corners, kMaxReserve));
        const std::size_t total = mesh_.positions.size() + std::min(vertices, kMaxReserve);
        mesh_.positions.reserve(total);
        mesh_.normals.reserve(total);
        mesh_.textureCoordinates.reserve(total);
    }

    void finish() {
        if (!anyNormals_) mesh_.normals.clear();
        if (!anyTexcoords_) mesh_.textureCoordinates.clear();
        mesh_.computeBounds();
    }

private:
    std::uint32_t append(const Accessor& positions, const Accessor* normals, const Accessor* texcoords, CornerKey key) {
        if (mesh_.positions.size() >= kMaxVertices) return kNone;
        const auto index = static_cast<std::uint32_t>(mesh_.positions.size());
        mesh_.positions.push_back({positions.at(key.v, 0), positions.at(key.v, 1), positions.at(key.v, 2)});
        if (normals) {
            anyNormals_ = true;
            mesh_.normals.push_back({normals->at(key.n, 0), normals->at(key.n, 1), normals->at(key.n, 2)});
        } else {
            mesh_.normals.push_back({0, 0, 0});
        }
        if (texcoords) {
            anyTexcoords_ = true;
            mesh_.textureCoordinates.push_back({texcoords->at(key.t, 0), texcoords->at(key.t, 1)});
        } else {
            mesh_.textureCoordinates.push_back({0, 0});
        }
        return index;
    }

    MemoryMeshGeometry& mesh_;
    std::array<const Accessor*, 3> sources_{};
    std::vector<CornerKey> byPosition_;
    std::vector<std::uint32_t> byPositionOut_;
    std::unordered_map<CornerKey, std::uint32_t, CornerKeyHash> others_;
    bool anyNormals_ = false, anyTexcoords_ = false;
};

class Reader {
public:
    Reader(const pugi::xml_node& root, std::filesystem::path baseFolder, std::shared_ptr<CallLog> log)
        : root_(root), baseFolder_(std::move(baseFolder)), log_(std::move(log)) {}

    std::shared_ptr<MemoryScene> read() {
        indexIds();
        pugi::xml_node visualScene;
        if (const auto instance = root_.child("scene").child("instance_visual_scene"))
            visualScene = byId(localTarget(instance.attribute("url").value()), "visual_scene");
        if (!visualScene) visualScene = root_.child("library_visual_scenes").child("visual_scene");
        if (!visualScene) return nullptr;

        // The scene's root node stands for the visual scene: its top-level nodes become children.
        auto sceneRoot = MemoryNode::make(log_);
        for (const auto& child : visualScene.children("node")) {
            auto node = buildNode(child, 1);
            if (!node) return nullptr;
            sceneRoot->appendChild(node);
        }
        return std::make_shared<MemoryScene>(log_, sceneRoot);
    }

private:
    void indexIds() {
        // Iterative walk: hostile files may nest deeper than the stack allows.
        pugi::xml_node node = root_.first_child();
        while (node) {
            if (node.type() == pugi::node_element) {
                if (const auto id = node.attribute("id")) ids_.emplace(std::string_view(id.value()), node);
                if (node.first_child()) {
                    node = node.first_child();
                    continue;
                }
            }
            while (node && !node.next_sibling() && node != root_) node = node.parent();
            if (!node || node == root_) break;
            node = node.next_sibling();
        }
    }

    pugi::xml_node byId(std::string_view id, const char* element) const {
        if (id.empty()) return {};
        const auto it = ids_.find(id);
        if (it == ids_.end() || std::strcmp(it->second.name(), element) != 0) return {};
        return it->second;
    }

    std::shared_ptr<MemoryNode> buildNode(const pugi::xml_node& element, int depth) {
        if (depth > kMaxDepth || ++nodeCount_ > kMaxNodes) return nullptr;
        auto node = MemoryNode::make(log_);
        if (const auto name = element.attribute("name"))
            node->nodeName = name.value();
        else if (const auto id = element.attribute("id"))
            node->nodeName = id.value();

        if (!applyTransform(element, *node)) return nullptr;

        bool first = true;
        for (const auto& instance : element.children("instance_geometry")) {
            auto geometry = buildGeometry(instance);
            if (failed_) return nullptr;
            if (!geometry) continue;
            if (first) {
                node->assignGeometry(geometry);
                first = false;
            } else {
                // Further meshes of the same node hang below it, one node each.
                if (++nodeCount_ > kMaxNodes) return nullptr;
                auto extra = MemoryNode::make(log_);
                if (const auto name = instance.attribute("name")) extra->nodeName = name.value();
                extra->assignGeometry(geometry);
                node->appendChild(extra);
            }
        }

        for (const auto& child : element.children()) {
            pugi::xml_node target;
            if (std::strcmp(child.name(), "node") == 0)
                target = child;
            else if (std::strcmp(child.name(), "instance_node") == 0)
                target = byId(localTarget(child.attribute("url").value()), "node");
            if (!target) continue;
            auto built = buildNode(target, depth + 1);
            if (!built) return nullptr;
            node->appendChild(built);
        }
        return node;
    }

    /// Composes the node's transform elements in document order. Malformed or non-finite
    /// elements leave the node untransformed rather than failing the file.
    bool applyTransform(const pugi::xml_node& element, MemoryNode& node) {
        Matrix total;
        bool any = false;
        std::vector<float> values;
        for (const auto& child : element.children()) {
            const char* name = child.name();
            Matrix step;
            if (std::strcmp(name, "matrix") == 0) {
                if (!parseFloats(child.child_value(), values) || values.size() != 16) return true;
                for (int r = 0; r < 4; ++r)
                    for (int c = 0; c < 4; ++c) step.m[r][c] = values[r * 4 + c];
            } else if (std::strcmp(name, "translate") == 0) {
                if (!parseFloats(child.child_value(), values) || values.size() != 3) return true;
                for (int r = 0; r < 3; ++r) step.m[r][3] = values[r];
            } else if (std::strcmp(name, "scale") == 0) {
                if (!parseFloats(child.child_value(), values) || values.size() != 3) return true;
                for (int r = 0; r < 3; ++r) step.m[r][r] = values[r];
            } else if (std::strcmp(name, "rotate") == 0) {
                if (!parseFloats(child.child_value(), values) || values.size() != 4) return true;
                double x = values[0], y = values[1], z = values[2];
                const double length = std::sqrt(x * x + y * y + z * z);
                if (!(length > 0) || !std::isfinite(length)) continue;
                x /= length, y /= length, z /= length;
                const double a = values[3] * std::numbers::pi / 180.0, c = std::cos(a), s = std::sin(a), t = 1 - c;
                const double r[3][3] = {{t * x * x + c, t * x * y - s * z, t * x * z + s * y},
                                        {t * x * y + s * z, t * y * y + c, t * y * z - s * x},
                                        {t * x * z - s * y, t * y * z + s * x, t * z * z + c}};
                for (int i = 0; i < 3; ++i)
                    for (int j = 0; j < 3; ++j) step.m[i][j] = r[i][j];
            } else {
                continue;
            }
            total = total * step;
            any = true;
        }
        if (!any) return true;
        simd_float4x4 matrix;
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c) {
                const double v = total.m[r][c];
                if (!std::isfinite(v) || std::abs(v) > std::numeric_limits<float>::max()) return true;
                matrix.columns[c][r] = static_cast<float>(v);
            }
        node.setTransformMatrix(matrix);
        return true;
    }

    /// The float source `id` through its accessor, with `components` named components.
    const Accessor* accessor(std::string_view id, int components) {
        // Validated per component count: a source checked for two components is not safe for three.
        auto& cache = accessors_[components == 3 ? 1 : 0];
        if (const auto it = cache.find(id); it != cache.end()) return &it->second;
        const pugi::xml_node source = byId(id, "source");
        if (!source) return nullptr;
        const pugi::xml_node array = source.child("float_array");
        const pugi::xml_node acc = source.child("technique_common").child("accessor");
        if (!array || !acc) return nullptr;
        // Keyed by the source, which owns its array.
        auto parsed = arrays_.find(id);
        if (parsed == arrays_.end()) {
            std::vector<float> values;
            if (!parseFloats(array.child_value(), values, array.attribute("count").as_uint())) return nullptr;
            parsed = arrays_.emplace(id, std::move(values)).first;
        }
        const std::vector<float>& values = parsed->second;

        Accessor result;
        result.data = &values;
        const auto count = unsignedAttribute(acc, "count", 0);
        const auto stride = unsignedAttribute(acc, "stride", 1);
        const auto offset = unsignedAttribute(acc, "offset", 0);
        if (!count || !stride || !offset || *stride == 0 || *stride > kMaxStride) return nullptr;
        result.count = *count;
        result.stride = *stride;
        result.offset = *offset;
        // Named params pick the components; unnamed ones are skipped. Without params the
        // first components are taken.
        int named = 0;
        std::uint32_t slot = 0;
        bool anyParam = false;
        for (const auto& param : acc.children("param")) {
            anyParam = true;
            if (param.attribute("name") && named < components) result.slots[named++] = slot;
            ++slot;
        }
        if (anyParam && named < components) return nullptr;
        std::uint32_t highest = 0;
        for (int k = 0; k < components; ++k) highest = std::max(highest, result.slots[k]);
        if (highest >= result.stride) return nullptr;
        if (result.count == 0) return nullptr;
        const std::uint64_t last = std::uint64_t(result.offset) + std::uint64_t(result.count - 1) * result.stride + highest;
        if (last >= values.size()) return nullptr;
        return &cache.emplace(id, result).first->second;
    }

    std::shared_ptr<MemoryMeshGeometry> buildGeometry(const pugi::xml_node& instance) {
        const pugi::xml_node geometry = byId(localTarget(instance.attribute("url").value()), "geometry");
        const pugi::xml_node mesh = geometry.child("mesh");
        if (!mesh) return nullptr;  // not a mesh (or a dangling reference): the node keeps no geometry

        // Material symbols bound by this instance.
        std::unordered_map<std::string_view, std::string_view> bindings;
        for (const auto& bound : instance.child("bind_material").child("technique_common").children("instance_material"))
            bindings.emplace(bound.attribute("symbol").value(), localTarget(bound.attribute("target").value()));

        auto result = std::make_shared<MemoryMeshGeometry>(log_);
        MeshBuilder builder(*result);
        for (const auto& primitive : mesh.children()) {
            const char* kind = primitive.name();
            const bool triangles = std::strcmp(kind, "triangles") == 0;
            const bool polylist = std::strcmp(kind, "polylist") == 0;
            const bool polygons = std::strcmp(kind, "polygons") == 0;
            if (!triangles && !polylist && !polygons) continue;
            if (!addPrimitive(primitive, triangles, polylist, builder)) return fail();
            const std::string_view symbol = primitive.attribute("material").value();
            const auto bound = bindings.find(symbol);
            if (auto material = buildMaterial(bound != bindings.end() ? bound->second : symbol))
                result->materials.push_back(std::move(material));
        }
        builder.finish();
        return result;
    }

    std::nullptr_t fail() {
        failed_ = true;
        return nullptr;
    }

    bool addPrimitive(const pugi::xml_node& primitive, bool triangles, bool polylist, MeshBuilder& builder) {
        // Inputs: VERTEX brings positions (and any per-vertex normals or texture coordinates).
        const Accessor* positions = nullptr;
        const Accessor* normals = nullptr;
        const Accessor* texcoords = nullptr;
        std::uint32_t vOffset = kNone, nOffset = kNone, tOffset = kNone;
        bool vertexNormals = false, vertexTexcoords = false;
        std::uint32_t stride = 0;
        for (const auto& input : primitive.children("input")) {
            const auto offset = unsignedAttribute(input, "offset", 0);
            if (!offset || *offset >= kMaxStride) return false;
            stride = std::max(stride, *offset + 1);
            const char* semantic = input.attribute("semantic").value();
            const std::string_view source = localTarget(input.attribute("source").value());
            if (std::strcmp(semantic, "VERTEX") == 0 && vOffset == kNone) {
                const pugi::xml_node vertices = byId(source, "vertices");
                if (!vertices) return false;
                for (const auto& vi : vertices.children("input")) {
                    const char* vs = vi.attribute("semantic").value();
                    const std::string_view vsource = localTarget(vi.attribute("source").value());
                    if (std::strcmp(vs, "POSITION") == 0 && !positions) {
                        positions = accessor(vsource, 3);
                        if (!positions) return false;
                    } else if (std::strcmp(vs, "NORMAL") == 0 && !normals) {
                        normals = accessor(vsource, 3);
                        vertexNormals = normals != nullptr;
                    } else if (std::strcmp(vs, "TEXCOORD") == 0 && !texcoords) {
                        texcoords = accessor(vsource, 2);
                        vertexTexcoords = texcoords != nullptr;
                    }
                }
                vOffset = *offset;
            } else if (std::strcmp(semantic, "NORMAL") == 0 && !normals) {
                normals = accessor(source, 3);
                if (normals) nOffset = *offset;
            } else if (std::strcmp(semantic, "TEXCOORD") == 0 && !texcoords) {
                texcoords = accessor(source, 2);
                if (texcoords) tOffset = *offset;
            }
        }
        if (!positions || vOffset == kNone) return false;

        std::vector<std::uint32_t>& p = indexScratch_;
        auto corner = [&](std::size_t c) {
            const std::uint32_t* tuple = &p[c * stride];
            const std::uint32_t v = tuple[vOffset];
            return CornerKey{v, vertexNormals ? v : (nOffset == kNone ? 0 : tuple[nOffset]),
                             vertexTexcoords ? v : (tOffset == kNone ? 0 : tuple[tOffset])};
        };
        auto addPolygon = [&](std::size_t first, std::size_t n) {
            // Fan triangulation; triangles are the n == 3 case.
            for (std::size_t k = 1; k + 1 < n; ++k)
                if (!builder.corner(*positions, normals, texcoords, corner(first)) ||
                    !builder.corner(*positions, normals, texcoords, corner(first + k)) ||
                    !builder.corner(*positions, normals, texcoords, corner(first + k + 1)))
                    return false;
            return true;
        };

        if (!triangles && !polylist) {
            // <polygons>: one <p> per polygon.
            for (const auto& poly : primitive.children("p")) {
                if (!parseIndices(poly.child_value(), p)) return false;
                if (!addPolygon(0, p.size() / stride)) return false;
            }
            return true;
        }

        const std::size_t declaredCorners = std::size_t(primitive.attribute("count").as_uint()) * (triangles ? 3 : 4);
        if (!parseIndices(primitive.child("p").child_value(), p, declaredCorners * stride)) return false;
        const std::size_t corners = p.size() / stride;
        builder.reserve(corners, positions->count);
        const auto declared = unsignedAttribute(primitive, "count", kNone);
        if (!declared) return false;
        if (triangles) {
            const std::size_t count = std::min<std::size_t>(corners / 3, *declared);
            for (std::size_t t = 0; t < count; ++t)
                if (!addPolygon(t * 3, 3)) return false;
            return true;
        }
        std::vector<std::uint32_t> vcount;
        if (!parseIndices(primitive.child("vcount").child_value(), vcount)) return false;
        std::size_t first = 0;
        for (const std::uint32_t n : vcount) {
            if (n > corners - first) return false;
            if (!addPolygon(first, n)) return false;
            first += n;
        }
        return true;
    }

    /// The material `id` (shared by every use in the file), or null when it cannot be resolved.
    std::shared_ptr<MemoryMaterial> buildMaterial(std::string_view id) {
        if (const auto it = materials_.find(id); it != materials_.end()) return it->second;
        const pugi::xml_node material = byId(id, "material");
        if (!material) return nullptr;
        auto result = std::make_shared<MemoryMaterial>(log_);
        if (const auto name = material.attribute("name"))
            result->name = name.value();
        else
            result->name = std::string(id);

        const pugi::xml_node effect = byId(localTarget(material.child("instance_effect").attribute("url").value()), "effect");
        const pugi::xml_node profile = effect.child("profile_COMMON");
        pugi::xml_node shading;
        for (const auto& child : profile.child("technique").children()) {
            const char* n = child.name();
            if (!std::strcmp(n, "lambert") || !std::strcmp(n, "phong") || !std::strcmp(n, "blinn") || !std::strcmp(n, "constant")) {
                shading = child;
                break;
            }
        }
        pugi::xml_node diffuse = shading.child("diffuse");
        if (!diffuse) diffuse = shading.child("emission");
        if (const auto texture = diffuse.child("texture")) {
            if (auto path = imagePath(effect, profile, texture.attribute("texture").value()))
                result->diffuseProperty->setImageContents(std::move(*path));
        } else if (const auto colour = diffuse.child("color")) {
            std::vector<float> rgba;
            if (parseFloats(colour.child_value(), rgba) && (rgba.size() == 3 || rgba.size() == 4))
                result->diffuseProperty->contents = UIColor{rgba[0], rgba[1], rgba[2], rgba.size() == 4 ? rgba[3] : 1.0};
        }
        materials_.emplace(id, result);
        return result;
    }

    /// Follows a texture reference (sampler → surface → image, or an image id directly)
    /// to the image file, resolved against the model's folder.
    std::optional<std::string> imagePath(const pugi::xml_node& effect, const pugi::xml_node& profile, std::string_view reference) {
        auto param = [&](std::string_view sid) -> pugi::xml_node {
            for (const auto& scope : {profile, effect})
                for (const auto& p : scope.children("newparam"))
                    if (sid == p.attribute("sid").value()) return p;
            return {};
        };
        std::string_view imageId = reference;
        if (const auto sampler = param(reference).child("sampler2D")) {
            const auto surface = param(sampler.child_value("source")).child("surface");
            imageId = surface.child_value("init_from");
        }
        const pugi::xml_node image = byId(imageId, "image");
        if (!image) return std::nullopt;
        const pugi::xml_node init = image.child("init_from");
        std::string_view uri = init.child("ref") ? init.child_value("ref") : init.child_value();
        while (!uri.empty() && isSpace(uri.front())) uri.remove_prefix(1);
        while (!uri.empty() && isSpace(uri.back())) uri.remove_suffix(1);
        if (uri.empty()) return std::nullopt;
        if (uri.starts_with("file://")) uri.remove_prefix(7);
        std::string decoded;
        for (std::size_t i = 0; i < uri.size(); ++i) {
            auto hex = [](char c) { return c >= '0' && c <= '9' ? c - '0' : (c | 0x20) >= 'a' && (c | 0x20) <= 'f' ? (c | 0x20) - 'a' + 10 : -1; };
            if (uri[i] == '%' && i + 2 < uri.size() && hex(uri[i + 1]) >= 0 && hex(uri[i + 2]) >= 0) {
                decoded += static_cast<char>(hex(uri[i + 1]) * 16 + hex(uri[i + 2]));
                i += 2;
            } else {
                decoded += uri[i];
            }
        }
        const std::filesystem::path path(decoded);
        return (path.is_absolute() ? path : (baseFolder_ / path)).lexically_normal().string();
    }

    pugi::xml_node root_;
    std::filesystem::path baseFolder_;
    std::shared_ptr<CallLog> log_;
    std::unordered_map<std::string_view, pugi::xml_node> ids_;
    std::unordered_map<std::string_view, std::vector<float>> arrays_;
    std::unordered_map<std::string_view, Accessor> accessors_[2];
    std::unordered_map<std::string_view, std::shared_ptr<MemoryMaterial>> materials_;
    std::vector<std::uint32_t> indexScratch_;
    std::size_t nodeCount_ = 0;
    bool failed_ = false;
};

std::shared_ptr<MemoryScene> readDocument(pugi::xml_document& document, const pugi::xml_parse_result& parsed,
                                          const std::filesystem::path& baseFolder, std::shared_ptr<CallLog> log) {
    if (!parsed) return nullptr;
    const pugi::xml_node root = document.document_element();
    if (std::strcmp(root.name(), "COLLADA") != 0) return nullptr;
    Reader reader(root, baseFolder, std::move(log));
    return reader.read();
}

} // namespace

std::shared_ptr<MemoryScene> loadColladaFile(const std::filesystem::path& file, std::shared_ptr<CallLog> log) {
    // Plain descriptor calls: one path lookup per file, as model loading is mostly small files.
    const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return nullptr;
    struct Closer {
        int fd;
        ~Closer() { ::close(fd); }
    } closer{fd};
    struct stat info {};
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode) || info.st_size < 0 ||
        static_cast<std::uintmax_t>(info.st_size) > kMaxFileBytes)
        return nullptr;
    const auto size = static_cast<std::size_t>(info.st_size);
    auto bytes = std::make_unique_for_overwrite<char[]>(size + 1);
    std::size_t filled = 0;
    while (filled < size) {
        const ssize_t got = ::read(fd, bytes.get() + filled, size - filled);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return nullptr;  // error, or the file shrank under us
        filled += static_cast<std::size_t>(got);
    }
    // The buffer is ours, so parse it in place without a copy.
    pugi::xml_document document;
    const auto parsed = document.load_buffer_inplace(bytes.get(), size);
    return readDocument(document, parsed, file.parent_path(), std::move(log));
}

std::shared_ptr<MemoryScene> loadColladaBytes(std::string_view bytes, const std::filesystem::path& baseFolder,
                                              std::shared_ptr<CallLog> log) {
    if (bytes.size() > kMaxFileBytes) return nullptr;
    pugi::xml_document document;
    const auto parsed = document.load_buffer(bytes.data(), bytes.size());
    return readDocument(document, parsed, baseFolder, std::move(log));
}

} // namespace orrery::memory

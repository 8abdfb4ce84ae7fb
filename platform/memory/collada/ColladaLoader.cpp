#include "platform/memory/collada/ColladaLoader.h"

// The reader trusts nothing in the file: every count, stride, offset and index is checked
// against the data actually present, numbers must be finite, and sizes, node counts and
// nesting are capped, so that any input yields a scene or null. What cannot be read is left
// out with a warning; only a file that is no COLLADA document at all is refused.

#include "platform/memory/collada/ColladaNumbers.h"
#include "platform/memory/collada/ColladaTransforms.h"
#include "platform/memory/geometry/Matrix3.h"
#include "platform/memory/geometry/PolygonTriangulator.h"

#include <pugixml.hpp>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace orrery::memory {

namespace {

using namespace collada;

constexpr int kMaxControllerChain = 8;  // skins of morphs of ...
constexpr std::size_t kMaxListedWarnings = 100;
constexpr std::uint32_t kMaxStride = 1024;
constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();

bool isSpace(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }

/// An unsigned attribute; `fallback` when absent, nullopt when malformed.
std::optional<std::uint32_t> unsignedAttribute(const pugi::xml_node& node, const char* name, std::uint32_t fallback) {
    const pugi::xml_attribute attribute = node.attribute(name);
    if (!attribute) return fallback;
    const char* text = attribute.value();
    const char* end = text + std::strlen(text);
    std::uint32_t value{};
    const auto [next, ec] = std::from_chars(text, end, value);
    if (ec != std::errc() || next != end) return std::nullopt;
    return value;
}

/// The id of a local reference ("#id"); empty for anything else.
std::string_view localTarget(const char* url) {
    if (url[0] != '#') return {};
    return std::string_view(url + 1);
}

/// An element as messages name it: <triangles>.
std::string tag(const pugi::xml_node& element) { return std::string("<") + element.name() + ">"; }

/// Line numbers of offsets into a document's text.
class LineIndex {
public:
    explicit LineIndex(std::string_view text) {
        for (std::size_t at = text.find('\n'); at != std::string_view::npos; at = text.find('\n', at + 1))
            newlines_.push_back(at);
    }
    std::size_t line(std::ptrdiff_t offset) const {
        if (offset < 0) return 0;
        return static_cast<std::size_t>(std::upper_bound(newlines_.begin(), newlines_.end(), std::size_t(offset)) -
                                        newlines_.begin()) +
               1;
    }

private:
    std::vector<std::size_t> newlines_;
};

/// What the reader says, by offset into the document; lines are worked out at the end.
struct Notes {
    struct Note {
        std::ptrdiff_t offset;
        std::string message;
    };
    std::optional<Note> error;
    std::vector<Note> warnings;
    std::size_t unlisted = 0;
    std::vector<std::pair<const MemoryNode*, std::ptrdiff_t>> nodes;
    bool wantNodes = false;
    ModelLimits limits;

    void warn(std::ptrdiff_t offset, std::string message) {
        if (warnings.size() < kMaxListedWarnings)
            warnings.push_back({offset, std::move(message)});
        else
            ++unlisted;
    }
};

/// A float source seen through its accessor: element i, component k is
/// data[offset + i * stride + slots[k]] for k below `components` and 0 past it (2-D positions
/// get z = 0), every such position checked to lie in data.
struct Accessor {
    const std::vector<float>* data = nullptr;
    std::uint32_t count{}, stride{}, offset{};
    std::array<std::uint32_t, 3> slots{0, 1, 2};
    int components{};

    float at(std::uint32_t i, int k) const {
        return k < components ? (*data)[std::size_t(offset) + std::size_t(i) * stride + slots[k]] : 0.0f;
    }
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
    MeshBuilder(MemoryMeshGeometry& mesh, std::size_t maxVertices) : mesh_(mesh), maxVertices_(maxVertices) {}

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
        forEachVertexArray([total](auto& array) { array.reserve(total); });
    }

    /// The mesh's size before a primitive, to take the primitive back out if it cannot be read.
    std::array<std::size_t, 2> mark() const { return {mesh_.indices.size(), mesh_.positions.size()}; }
    void rollback(std::array<std::size_t, 2> mark) {
        mesh_.indices.resize(mark[0]);
        forEachVertexArray([&mark](auto& array) { array.resize(mark[1]); });
        sources_ = {};  // the vertex tables may name vertices just removed
    }

    void finish() {
        if (!anyNormals_) mesh_.normals.clear();
        if (!anyTexcoords_) mesh_.textureCoordinates.clear();
        mesh_.computeBounds();
    }

private:
    /// Calls `f` on each array that holds one element per vertex.
    template <class F>
    void forEachVertexArray(F&& f) {
        f(mesh_.positions), f(mesh_.normals), f(mesh_.textureCoordinates);
    }

    std::uint32_t append(const Accessor& positions, const Accessor* normals, const Accessor* texcoords, CornerKey key) {
        if (mesh_.positions.size() >= maxVertices_) return kNone;
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
    std::size_t maxVertices_;
    std::array<const Accessor*, 3> sources_{};
    std::vector<CornerKey> byPosition_;
    std::vector<std::uint32_t> byPositionOut_;
    std::unordered_map<CornerKey, std::uint32_t, CornerKeyHash> others_;
    bool anyNormals_ = false, anyTexcoords_ = false;
};

/// The surface primitives of a mesh.
enum class PrimitiveKind { triangles, polylist, polygons, tristrips, trifans, lines, other };

PrimitiveKind primitiveKind(const char* name) {
    if (!std::strcmp(name, "triangles")) return PrimitiveKind::triangles;
    if (!std::strcmp(name, "polylist")) return PrimitiveKind::polylist;
    if (!std::strcmp(name, "polygons")) return PrimitiveKind::polygons;
    if (!std::strcmp(name, "tristrips")) return PrimitiveKind::tristrips;
    if (!std::strcmp(name, "trifans")) return PrimitiveKind::trifans;
    if (!std::strcmp(name, "lines") || !std::strcmp(name, "linestrips")) return PrimitiveKind::lines;
    return PrimitiveKind::other;
}

class Reader {
public:
    Reader(const pugi::xml_node& root, std::filesystem::path baseFolder, Notes& notes)
        : root_(root), baseFolder_(std::move(baseFolder)), notes_(notes) {}

    std::shared_ptr<MemoryScene> read() {
        indexIds();
        std::string assetWarning;
        conversion_ = assetConversion(root_.child("asset"), assetWarning);
        if (!assetWarning.empty()) warn(root_.child("asset"), assetWarning);

        pugi::xml_node visualScene;
        if (const auto instance = root_.child("scene").child("instance_visual_scene")) {
            visualScene = byId(localTarget(instance.attribute("url").value()), "visual_scene");
            if (!visualScene)
                warn(instance, "instance_visual_scene " + quoted(instance.attribute("url").value()) +
                                   " names no visual scene of this file; the first one is shown");
        }
        if (!visualScene) visualScene = root_.child("library_visual_scenes").child("visual_scene");
        if (!visualScene) return refuse(root_, "no visual scene to show");

        // The scene's root node stands for the visual scene: its top-level nodes become children.
        auto sceneRoot = MemoryNode::make();
        for (const auto& child : visualScene.children("node")) {
            auto node = buildNode(child, 1);
            if (failed_) return nullptr;
            if (node) sceneRoot->appendChild(node);
        }
        return std::make_shared<MemoryScene>(nullptr, sceneRoot);
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
            // The walk starts inside root_, so climbing reaches root_ before the document.
            while (!node.next_sibling() && node != root_) node = node.parent();
            if (node == root_) break;
            node = node.next_sibling();
        }
    }

    pugi::xml_node byId(std::string_view id, const char* element) const {
        if (id.empty()) return {};
        const auto it = ids_.find(id);
        if (it == ids_.end() || std::strcmp(it->second.name(), element) != 0) return {};
        return it->second;
    }

    /// The element `url` names, or null with a warning that says what was left out.
    pugi::xml_node resolve(const pugi::xml_node& instance, const char* attribute, const char* element) {
        const char* url = instance.attribute(attribute).value();
        if (const pugi::xml_node target = byId(localTarget(url), element)) return target;
        if (url[0] != '#' && std::strchr(url, '#'))
            warn(instance, tag(instance) + " " + quoted(url) + " refers to another file; left out");
        else
            warn(instance, tag(instance) + " " + quoted(url) + " names no <" + element + "> of this file; left out");
        return {};
    }

    void warn(const pugi::xml_node& at, std::string message) { notes_.warn(at.offset_debug(), std::move(message)); }

    std::nullptr_t refuse(const pugi::xml_node& at, std::string message) {
        if (!failed_) notes_.error = Notes::Note{at.offset_debug(), std::move(message)};
        failed_ = true;
        return nullptr;
    }

    static std::string nodeLabel(const pugi::xml_node& element) {
        if (const auto name = element.attribute("name")) return "node " + quoted(name.value());
        if (const auto id = element.attribute("id")) return "node " + quoted(id.value());
        return "an unnamed node";
    }

    /// Counts one more node of the scene; past the limit the document is refused.
    bool countNode(const pugi::xml_node& at) {
        const bool within = ++nodeCount_ <= notes_.limits.nodes;
        if (!within) refuse(at, "more than " + std::to_string(notes_.limits.nodes) + " nodes");
        return within;
    }

    std::shared_ptr<MemoryNode> buildNode(const pugi::xml_node& element, int depth) {
        if (depth > notes_.limits.nodeDepth)
            return refuse(element, "nodes nested more than " + std::to_string(notes_.limits.nodeDepth) + " deep");
        if (!countNode(element)) return nullptr;
        auto node = MemoryNode::make();
        if (notes_.wantNodes) notes_.nodes.emplace_back(node.get(), element.offset_debug());
        if (const auto name = element.attribute("name"))
            node->nodeName = name.value();
        else if (const auto id = element.attribute("id"))
            node->nodeName = id.value();

        // Geometry and child nodes go below a sheared transform's inner node.
        std::shared_ptr<MemoryNode> contents = node;
        if (!applyTransform(element, depth, *node, contents)) return nullptr;

        const void* const self = element.internal_object();
        onPath_.insert(self);
        for (const auto& instance : element.children()) {
            const bool controller = !std::strcmp(instance.name(), "instance_controller");
            if (!controller && std::strcmp(instance.name(), "instance_geometry") != 0) continue;
            auto geometry = controller ? buildController(instance) : buildGeometry(instance);
            if (failed_) return nullptr;
            if (!geometry) continue;
            if (!contents->nodeGeometry()) {
                contents->assignGeometry(geometry);
            } else {
                // Further meshes of the same node hang below it, one node each.
                if (!countNode(instance)) return nullptr;
                auto extra = MemoryNode::make();
                if (notes_.wantNodes) notes_.nodes.emplace_back(extra.get(), instance.offset_debug());
                if (const auto name = instance.attribute("name")) extra->nodeName = name.value();
                extra->assignGeometry(geometry);
                contents->appendChild(extra);
            }
        }

        for (const auto& child : element.children()) {
            pugi::xml_node target;
            if (std::strcmp(child.name(), "node") == 0) {
                target = child;
            } else if (std::strcmp(child.name(), "instance_node") == 0) {
                target = resolve(child, "url", "node");
                if (target && onPath_.contains(target.internal_object())) {
                    warn(child, "instance_node " + quoted(child.attribute("url").value()) +
                                    " instantiates a node that contains it; left out");
                    continue;
                }
            }
            if (!target) continue;
            auto built = buildNode(target, depth + 1);
            if (failed_) return nullptr;
            if (built) contents->appendChild(built);
        }
        onPath_.erase(self);
        return node;
    }

    /// Composes the node's transform elements in document order (a top-level node also gets
    /// the document's axis and unit conversion) and gives the node the result. False when the
    /// file is refused; `contents` becomes the inner node of a sheared transform.
    bool applyTransform(const pugi::xml_node& element, int depth, MemoryNode& node,
                        std::shared_ptr<MemoryNode>& contents) {
        Matrix total;
        bool any = false;
        std::string why;
        for (const auto& child : element.children()) {
            Matrix step;
            switch (readTransformElement(child, step, why)) {
            case TransformStep::none: continue;
            case TransformStep::unreadable:
                warn(child, tag(child) + " of " + nodeLabel(element) + " left out: " + why);
                continue;
            case TransformStep::read:
                total = total * step;
                any = true;
                break;
            }
        }
        if (depth == 1 && !conversion_.isIdentity()) {
            total = conversion_ * total;
            any = true;
        }
        if (!any) return true;
        if (total.m[3][0] != 0 || total.m[3][1] != 0 || total.m[3][2] != 0 || total.m[3][3] != 1)
            warn(element, "the projective part of the transform of " + nodeLabel(element) + " is left out");
        std::shared_ptr<MemoryNode> inner;
        switch (placeNode(total, node, inner)) {
        case Placement::exact: return true;
        case Placement::sheared:
            if (notes_.wantNodes) notes_.nodes.emplace_back(inner.get(), element.offset_debug());
            node.appendChild(inner);
            contents = inner;
            return true;
        case Placement::tooLarge: break;
        }
        refuse(element, "the transform of " + nodeLabel(element) + " does not fit in 32-bit floats");
        return false;
    }

    /// Material symbols bound by an instance_geometry or instance_controller.
    static std::unordered_map<std::string_view, std::string_view> materialBindings(const pugi::xml_node& instance) {
        std::unordered_map<std::string_view, std::string_view> bindings;
        for (const auto& bound :
             instance.child("bind_material").child("technique_common").children("instance_material"))
            bindings.emplace(bound.attribute("symbol").value(), localTarget(bound.attribute("target").value()));
        return bindings;
    }

    std::shared_ptr<MemoryMeshGeometry> buildGeometry(const pugi::xml_node& instance) {
        const pugi::xml_node geometry = resolve(instance, "url", "geometry");
        if (!geometry) return nullptr;
        return buildMesh(geometry, materialBindings(instance));
    }

    /// A skin's source mesh in its bind pose, or a morph's base mesh.
    std::shared_ptr<MemoryMeshGeometry> buildController(const pugi::xml_node& instance) {
        pugi::xml_node controller = resolve(instance, "url", "controller");
        Matrix bindShape;
        for (int link = 0; controller; ++link) {
            if (link == kMaxControllerChain) {
                warn(controller,
                     "controllers chained more than " + std::to_string(kMaxControllerChain) + " deep; left out");
                return nullptr;
            }
            pugi::xml_node target = controller.child("skin");
            if (target) {
                if (const auto matrix = target.child("bind_shape_matrix")) {
                    std::vector<float> values;
                    std::string why;
                    if (!parseFloats(matrix.child_value(), values, 16, &why) || values.size() != 16) {
                        warn(matrix, "<bind_shape_matrix> left out: " + (why.empty() ? "16 numbers expected" : why));
                    } else {
                        Matrix step;
                        for (int r = 0; r < 4; ++r)
                            for (int c = 0; c < 4; ++c) step.m[r][c] = values[r * 4 + c];
                        bindShape = bindShape * step;
                    }
                }
            } else if (!(target = controller.child("morph"))) {
                warn(controller, "controller " + quoted(controller.attribute("id").value()) +
                                     " is neither a skin nor a morph; left out");
                return nullptr;
            }
            const std::string_view source = localTarget(target.attribute("source").value());
            if (const pugi::xml_node geometry = byId(source, "geometry")) {
                auto mesh = buildMesh(geometry, materialBindings(instance));
                if (mesh && !bindShape.isIdentity()) applyBindShape(bindShape, *mesh, target);
                return mesh;
            }
            controller = resolve(target, "source", "controller");
        }
        return nullptr;
    }

    /// Moves a skin's mesh by its bind-shape matrix (normals by the inverse transpose).
    void applyBindShape(const Matrix& m, MemoryMeshGeometry& mesh, const pugi::xml_node& skin) {
        const Matrix3d a = m.linear();
        const Vector3d shift = m.translation();
        // Normals move by the inverse transpose; its multiple by the determinant's size has no
        // singular case, and the sign keeps them facing out of a mirrored surface.
        Matrix3d normalMatrix = transposed(adjugate(a));
        if (determinant(a) < 0)
            for (auto& row : normalMatrix)
                for (double& x : row) x = -x;
        std::vector<SCNVector3> positions = mesh.positions, normals = mesh.normals;
        for (auto& p : positions) {
            const Vector3d moved = times(a, {p.x, p.y, p.z});
            p = {static_cast<float>(moved[0] + shift[0]), static_cast<float>(moved[1] + shift[1]),
                 static_cast<float>(moved[2] + shift[2])};
            if (!std::isfinite(p.x) || !std::isfinite(p.y) || !std::isfinite(p.z)) {
                warn(skin, "<bind_shape_matrix> left out: it moves vertices beyond 32-bit floats");
                return;
            }
        }
        for (auto& n : normals) {
            Vector3d v = times(normalMatrix, {n.x, n.y, n.z});
            const double length = makeUnit(v);
            if (length > 0 && std::isfinite(length))
                n = {static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2])};
        }
        mesh.positions = std::move(positions);
        mesh.normals = std::move(normals);
        mesh.computeBounds();
    }

    std::shared_ptr<MemoryMeshGeometry>
    buildMesh(const pugi::xml_node& geometry, const std::unordered_map<std::string_view, std::string_view>& bindings) {
        pugi::xml_node mesh = geometry.child("mesh");
        if (!mesh) {
            const pugi::xml_node convex = geometry.child("convex_mesh");
            if (convex && !convex.attribute("convex_hull_of")) mesh = convex;
        }
        if (!mesh) {
            const pugi::xml_node kind = geometry.first_child();
            warn(geometry, "geometry " + quoted(geometry.attribute("id").value()) + " is " +
                               (kind ? "a " + tag(kind) : std::string("empty")) + ", not a mesh; left out");
            return nullptr;
        }

        auto result = std::make_shared<MemoryMeshGeometry>();
        MeshBuilder builder(*result, notes_.limits.verticesPerMesh);
        for (const auto& primitive : mesh.children()) {
            const PrimitiveKind kind = primitiveKind(primitive.name());
            if (kind == PrimitiveKind::other) continue;
            if (kind == PrimitiveKind::lines) {
                warn(primitive, tag(primitive) + " left out: lines are not surfaces");
                continue;
            }
            const auto mark = builder.mark();
            problem_ = {};
            if (!addPrimitive(primitive, kind, builder)) {
                builder.rollback(mark);
                warn(problem_.at ? problem_.at : primitive, tag(primitive) + " left out: " + problem_.what);
                continue;
            }
            const std::string_view symbol = primitive.attribute("material").value();
            const auto bound = bindings.find(symbol);
            if (auto material = buildMaterial(bound != bindings.end() ? bound->second : symbol))
                result->materials.push_back(std::move(material));
        }
        builder.finish();
        return result;
    }

    /// Why a primitive or source cannot be read, and the element at fault.
    struct Problem {
        pugi::xml_node at;
        std::string what;
    };

    bool fail(const pugi::xml_node& at, std::string what) {
        problem_ = {at, std::move(what)};
        return false;
    }
    const Accessor* noAccessor(const pugi::xml_node& at, std::string what) {
        fail(at, std::move(what));
        return nullptr;
    }

    /// The float source `id` through its accessor, wanting `wanted` components and accepting
    /// down to `least` (the rest read as 0); null with problem_ set when it cannot be read.
    const Accessor* accessor(std::string_view id, int wanted, int least) {
        // Validated per component count: a source checked for two components is not safe for three.
        const std::pair<std::string_view, int> key{id, wanted};
        if (const auto it = accessors_.find(key); it != accessors_.end()) return &it->second;
        const pugi::xml_node source = byId(id, "source");
        if (!source) return noAccessor({}, "it names no source " + quoted(id));
        const pugi::xml_node array = source.child("float_array");
        const pugi::xml_node acc = source.child("technique_common").child("accessor");
        if (!array) return noAccessor(source, "source " + quoted(id) + " has no <float_array>");
        if (!acc) return noAccessor(source, "source " + quoted(id) + " has no <accessor>");
        // Keyed by the source, which owns its array.
        auto parsed = arrays_.find(id);
        if (parsed == arrays_.end()) {
            std::vector<float> values;
            std::string why;
            if (!parseFloats(array.child_value(), values, array.attribute("count").as_uint(), &why))
                return noAccessor(array, "<float_array> " + quoted(array.attribute("id").value()) + ": " + why);
            parsed = arrays_.emplace(id, std::move(values)).first;
        }
        const std::vector<float>& values = parsed->second;

        Accessor result;
        result.data = &values;
        const auto count = unsignedAttribute(acc, "count", 0);
        const auto stride = unsignedAttribute(acc, "stride", 1);
        const auto offset = unsignedAttribute(acc, "offset", 0);
        if (!count || !stride || !offset)
            return noAccessor(acc, "the <accessor> of " + quoted(id) + " has a malformed count, stride or offset");
        result.count = *count;
        result.stride = *stride;
        result.offset = *offset;
        if (result.count == 0) {  // an empty source: nothing to index
            result.components = wanted;
            return &accessors_.emplace(key, result).first->second;
        }
        if (result.stride == 0 || result.stride > kMaxStride)
            return noAccessor(acc, "the <accessor> of " + quoted(id) + " has stride " + std::to_string(result.stride));
        // Named params pick the components; unnamed ones are skipped. Without params the
        // first components are taken.
        int named = 0;
        std::uint32_t slot = 0;
        bool anyParam = false;
        for (const auto& param : acc.children("param")) {
            anyParam = true;
            if (param.attribute("name") && named < wanted) result.slots[named++] = slot;
            ++slot;
        }
        result.components = anyParam ? named : static_cast<int>(std::min<std::uint32_t>(result.stride, wanted));
        if (result.components < least)
            return noAccessor(acc, "the <accessor> of " + quoted(id) + " has " + std::to_string(result.components) +
                                       " components, " + std::to_string(least) + " needed");
        std::uint32_t highest = 0;
        for (int k = 0; k < result.components; ++k) highest = std::max(highest, result.slots[k]);
        if (highest >= result.stride)
            return noAccessor(acc, "the <accessor> of " + quoted(id) + " has more components than its stride");
        const std::uint64_t last =
            std::uint64_t(result.offset) + std::uint64_t(result.count - 1) * result.stride + highest;
        if (last >= values.size())
            return noAccessor(acc, "the <accessor> of " + quoted(id) + " reaches number " + std::to_string(last + 1) +
                                       " of " + std::to_string(values.size()));
        return &accessors_.emplace(key, result).first->second;
    }

    bool addPrimitive(const pugi::xml_node& primitive, PrimitiveKind kind, MeshBuilder& builder) {
        // Inputs: VERTEX brings positions (and any per-vertex normals or texture coordinates).
        const Accessor* positions = nullptr;
        const Accessor* normals = nullptr;
        const Accessor* texcoords = nullptr;
        std::uint32_t vOffset = kNone, nOffset = kNone, tOffset = kNone;
        bool vertexNormals = false, vertexTexcoords = false;
        std::uint32_t stride = 0;
        // An unreadable normal or texture source leaves out only that attribute.
        auto optional = [&](const char* what, std::string_view source, int wanted, int least) {
            const Accessor* result = accessor(source, wanted, least);
            if (!result)
                warn(problem_.at ? problem_.at : primitive,
                     std::string(what) + " of " + tag(primitive) + " left out: " + problem_.what);
            return result;
        };
        for (const auto& input : primitive.children("input")) {
            const auto offset = unsignedAttribute(input, "offset", 0);
            if (!offset || *offset >= kMaxStride) return fail(input, "an <input> has a malformed offset");
            stride = std::max(stride, *offset + 1);
            const char* semantic = input.attribute("semantic").value();
            const std::string_view source = localTarget(input.attribute("source").value());
            if (std::strcmp(semantic, "VERTEX") == 0 && vOffset == kNone) {
                const pugi::xml_node vertices = byId(source, "vertices");
                if (!vertices) return fail(input, "its VERTEX input names no <vertices> " + quoted(source));
                for (const auto& vi : vertices.children("input")) {
                    const char* vs = vi.attribute("semantic").value();
                    const std::string_view vsource = localTarget(vi.attribute("source").value());
                    if (std::strcmp(vs, "POSITION") == 0 && !positions) {
                        positions = accessor(vsource, 3, 1);
                        if (!positions) return false;
                    } else if (std::strcmp(vs, "NORMAL") == 0 && !normals) {
                        normals = optional("normals", vsource, 3, 3);
                        vertexNormals = normals != nullptr;
                    } else if (std::strcmp(vs, "TEXCOORD") == 0 && !texcoords) {
                        texcoords = optional("texture coordinates", vsource, 2, 1);
                        vertexTexcoords = texcoords != nullptr;
                    }
                }
                if (!positions) return fail(vertices, "<vertices> " + quoted(source) + " has no POSITION input");
                vOffset = *offset;
            } else if (std::strcmp(semantic, "NORMAL") == 0 && !normals) {
                normals = optional("normals", source, 3, 3);
                if (normals) nOffset = *offset;
            } else if (std::strcmp(semantic, "TEXCOORD") == 0 && !texcoords) {
                texcoords = optional("texture coordinates", source, 2, 1);
                if (texcoords) tOffset = *offset;
            }
        }
        if (vOffset == kNone) return fail(primitive, "it has no VERTEX input");

        std::vector<std::uint32_t>& p = indexScratch_;
        auto corner = [&](std::size_t c) {
            const std::uint32_t* tuple = &p[c * stride];
            const std::uint32_t v = tuple[vOffset];
            return CornerKey{v, vertexNormals ? v : (nOffset == kNone ? 0 : tuple[nOffset]),
                             vertexTexcoords ? v : (tOffset == kNone ? 0 : tuple[tOffset])};
        };
        auto add = [&](std::size_t c) {
            if (builder.corner(*positions, normals, texcoords, corner(c))) return true;
            const CornerKey key = corner(c);
            if (key.v >= positions->count)
                return fail(primitive, "position index " + std::to_string(key.v) + " past the " +
                                           std::to_string(positions->count) + " positions");
            if (normals && key.n >= normals->count)
                return fail(primitive, "normal index " + std::to_string(key.n) + " past the " +
                                           std::to_string(normals->count) + " normals");
            if (texcoords && key.t >= texcoords->count)
                return fail(primitive, "texture coordinate index " + std::to_string(key.t) + " past the " +
                                           std::to_string(texcoords->count) + " texture coordinates");
            return fail(primitive,
                        "the mesh has more than " + std::to_string(notes_.limits.verticesPerMesh) + " vertices");
        };
        auto addTriangle = [&](std::size_t a, std::size_t b, std::size_t c) { return add(a) && add(b) && add(c); };
        // A polygon of `n` corners from corner `first`, with holes after it (`sizes`: outline first).
        auto addPolygon = [&](std::size_t first, std::span<const std::size_t> sizes) {
            std::size_t n = 0;
            for (const std::size_t size : sizes) n += size;
            if (sizes[0] < 3) return true;  // a point or an edge: no surface
            if (sizes.size() == 1 && n == 3) return addTriangle(first, first + 1, first + 2);
            points_.clear();
            for (std::size_t c = first; c < first + n; ++c) {
                const std::uint32_t v = corner(c).v;
                if (v >= positions->count) return add(c);  // says which index is wrong
                points_.push_back({positions->at(v, 0), positions->at(v, 1), positions->at(v, 2)});
            }
            triangles_.clear();
            triangulator_.triangulate(points_, sizes, WindingRule::odd, triangles_);
            for (std::size_t t = 0; t < triangles_.size(); t += 3)
                if (!addTriangle(first + triangles_[t], first + triangles_[t + 1], first + triangles_[t + 2]))
                    return false;
            return true;
        };
        auto readIndices = [&](const pugi::xml_node& list, std::size_t expected) {
            std::string why;
            if (parseIndices(list.child_value(), p, expected, &why)) return true;
            return fail(list, tag(list) + ": " + why);
        };

        if (kind == PrimitiveKind::polygons || kind == PrimitiveKind::tristrips || kind == PrimitiveKind::trifans) {
            // One <p> per polygon, strip or fan; <polygons> may also have outlines with holes (<ph>).
            for (const auto& list : primitive.children()) {
                const bool withHoles = kind == PrimitiveKind::polygons && !std::strcmp(list.name(), "ph");
                if (!withHoles && std::strcmp(list.name(), "p") != 0) continue;
                std::vector<std::size_t> sizes;
                if (withHoles) {
                    std::vector<std::uint32_t> all;
                    for (const auto& contour : list.children()) {
                        if (std::strcmp(contour.name(), "p") != 0 && std::strcmp(contour.name(), "h") != 0) continue;
                        if (!readIndices(contour, 0)) return false;
                        if (std::strcmp(contour.name(), "p") == 0 && !sizes.empty())
                            return fail(contour, "a <ph> has more than one outline");
                        if (std::strcmp(contour.name(), "h") == 0 && sizes.empty())
                            return fail(contour, "a hole comes before its outline");
                        sizes.push_back(p.size() / stride);
                        all.insert(all.end(), p.begin(), p.begin() + std::ptrdiff_t(sizes.back() * stride));
                    }
                    p.swap(all);
                    if (sizes.empty()) continue;
                } else {
                    if (!readIndices(list, 0)) return false;
                    sizes.push_back(p.size() / stride);
                }
                const std::size_t n = sizes[0];
                if (kind == PrimitiveKind::polygons) {
                    if (!addPolygon(0, sizes)) return false;
                } else {
                    for (std::size_t k = 0; k + 2 < n; ++k) {
                        const bool ok = kind == PrimitiveKind::trifans ? addTriangle(0, k + 1, k + 2)
                                        : k % 2 == 0                   ? addTriangle(k, k + 1, k + 2)
                                                                       : addTriangle(k + 1, k, k + 2);
                        if (!ok) return false;
                    }
                }
            }
            return true;
        }

        const auto declared = unsignedAttribute(primitive, "count", kNone);
        if (!declared) return fail(primitive, "its count is malformed");
        const pugi::xml_node list = primitive.child("p");
        const std::size_t declaredCorners =
            *declared == kNone ? 0 : std::size_t(*declared) * (kind == PrimitiveKind::triangles ? 3 : 4);
        if (!readIndices(list, declaredCorners * stride)) return false;
        const std::size_t corners = p.size() / stride;
        builder.reserve(corners, positions->count);
        if (kind == PrimitiveKind::triangles) {
            std::size_t count = corners / 3;
            if (*declared != kNone && *declared != count) {
                warn(primitive, tag(primitive) + " count=\"" + std::to_string(*declared) + "\" but <p> holds " +
                                    std::to_string(count) + " triangles; " +
                                    std::to_string(std::min<std::size_t>(count, *declared)) + " read");
                count = std::min<std::size_t>(count, *declared);
            }
            for (std::size_t t = 0; t < count; ++t)
                if (!addTriangle(t * 3, t * 3 + 1, t * 3 + 2)) return false;
            return true;
        }
        std::vector<std::uint32_t> vcount;
        {
            std::string why;
            if (!parseIndices(primitive.child("vcount").child_value(), vcount, 0, &why))
                return fail(primitive.child("vcount"), "<vcount>: " + why);
        }
        if (*declared != kNone && *declared != vcount.size())
            warn(primitive, tag(primitive) + " count=\"" + std::to_string(*declared) + "\" but <vcount> lists " +
                                std::to_string(vcount.size()) + " polygons; all of them read");
        std::size_t first = 0;
        for (const std::uint32_t n : vcount) {
            if (n > corners - first)
                return fail(primitive, "<vcount> lists more corners than <p> holds (" + std::to_string(corners) + ")");
            const std::size_t size = n;
            if (!addPolygon(first, std::span<const std::size_t>(&size, 1))) return false;
            first += n;
        }
        return true;
    }

    /// The material `id` (shared by every use in the file), or null when it cannot be resolved.
    std::shared_ptr<MemoryMaterial> buildMaterial(std::string_view id) {
        if (const auto it = materials_.find(id); it != materials_.end()) return it->second;
        const pugi::xml_node material = byId(id, "material");
        if (!material) return nullptr;
        auto result = std::make_shared<MemoryMaterial>();
        if (const auto name = material.attribute("name"))
            result->name = name.value();
        else
            result->name = std::string(id);

        const pugi::xml_node effect =
            byId(localTarget(material.child("instance_effect").attribute("url").value()), "effect");
        const pugi::xml_node profile = effect.child("profile_COMMON");
        pugi::xml_node shading;
        for (const auto& child : profile.child("technique").children()) {
            const char* n = child.name();
            if (!std::strcmp(n, "lambert") || !std::strcmp(n, "phong") || !std::strcmp(n, "blinn") ||
                !std::strcmp(n, "constant")) {
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
                result->diffuseProperty->contents =
                    UIColor{rgba[0], rgba[1], rgba[2], rgba.size() == 4 ? rgba[3] : 1.0};
        }
        materials_.emplace(id, result);
        return result;
    }

    /// Follows a texture reference (sampler → surface → image, or an image id directly)
    /// to the image file, resolved against the model's folder.
    std::optional<std::string> imagePath(const pugi::xml_node& effect, const pugi::xml_node& profile,
                                         std::string_view reference) {
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
            // %XX is the byte XX (exactly two hexadecimal digits); anything else is kept as written.
            if (uri[i] == '%' && i + 2 < uri.size()) {
                const char* const digits = uri.data() + i + 1;
                unsigned byte = 0;
                if (const auto [end, error] = std::from_chars(digits, digits + 2, byte, 16);
                    error == std::errc() && end == digits + 2) {
                    decoded += static_cast<char>(byte);
                    i += 2;
                    continue;
                }
            }
            decoded += uri[i];
        }
        const std::filesystem::path path(decoded);
        return (path.is_absolute() ? path : (baseFolder_ / path)).lexically_normal().string();
    }

    pugi::xml_node root_;
    std::filesystem::path baseFolder_;
    Notes& notes_;
    Matrix conversion_;
    std::unordered_map<std::string_view, pugi::xml_node> ids_;
    std::unordered_map<std::string_view, std::vector<float>> arrays_;
    std::map<std::pair<std::string_view, int>, Accessor> accessors_;  ///< by source and components wanted
    std::unordered_map<std::string_view, std::shared_ptr<MemoryMaterial>> materials_;
    std::unordered_set<const void*> onPath_;
    std::vector<std::uint32_t> indexScratch_;
    std::vector<PolygonTriangulator::Point> points_;
    std::vector<std::uint32_t> triangles_;
    PolygonTriangulator triangulator_;
    Problem problem_;
    std::size_t nodeCount_ = 0;
    bool failed_ = false;
};

/// Reads a parsed document; what there is to say goes to `notes`.
std::shared_ptr<MemoryScene> readDocument(pugi::xml_document& document, const pugi::xml_parse_result& parsed,
                                          const std::filesystem::path& baseFolder, Notes& notes) {
    if (!parsed) {
        notes.error = Notes::Note{parsed.offset, std::string("not well-formed XML: ") + parsed.description()};
        return nullptr;
    }
    const pugi::xml_node root = document.document_element();
    if (std::strcmp(root.name(), "COLLADA") != 0) {
        notes.error =
            Notes::Note{root ? root.offset_debug() : 0,
                        root ? "not a COLLADA document: its root element is " + tag(root) : "not a COLLADA document"};
        return nullptr;
    }
    Reader reader(root, baseFolder, notes);
    return reader.read();
}

/// Fills `report` from `notes`, with lines counted in the document's text.
void fillReport(ModelReport& report, const Notes& notes, const LineIndex& lines) {
    if (notes.error) report.error = ModelDiagnostic{lines.line(notes.error->offset), notes.error->message};
    for (const auto& warning : notes.warnings) report.warnings.push_back({lines.line(warning.offset), warning.message});
    report.unlistedWarnings = notes.unlisted;
    for (const auto& [node, offset] : notes.nodes) report.nodeLines.emplace(node, lines.line(offset));
}

std::shared_ptr<MemoryScene> refuseFile(ModelReport* report, std::string message) {
    if (report) report->error = ModelDiagnostic{0, std::move(message)};
    return nullptr;
}

}  // namespace

std::shared_ptr<MemoryScene> loadColladaFile(const std::filesystem::path& file, ModelReport* report,
                                             const ModelLimits& limits) {
    if (report) *report = {};
    // Plain descriptor calls: one path lookup per file, as model loading is mostly small files.
    const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return refuseFile(report, std::string("cannot open the file: ") + std::strerror(errno));
    struct Closer {
        int fd;
        ~Closer() { ::close(fd); }
    } closer{fd};
    struct stat info {};
    if (::fstat(fd, &info) != 0)
        return refuseFile(report, std::string("cannot read the file: ") + std::strerror(errno));
    if (!S_ISREG(info.st_mode)) return refuseFile(report, "not a regular file");
    if (info.st_size < 0 || static_cast<std::uintmax_t>(info.st_size) > limits.fileBytes)
        return refuseFile(report, "the file is larger than " + std::to_string(limits.fileBytes >> 20) + " MB");
    const auto size = static_cast<std::size_t>(info.st_size);
    auto bytes = std::unique_ptr<char[]>(new char[size + 1]);  // filled by read() below
    std::size_t filled = 0;
    while (filled < size) {
        const ssize_t got = ::read(fd, bytes.get() + filled, size - filled);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return refuseFile(report, std::string("cannot read the file: ") + std::strerror(errno));
        if (got == 0) return refuseFile(report, "the file shrank while it was read");
        filled += static_cast<std::size_t>(got);
    }
    // Parsing in place changes the text, so lines are found beforehand, and only when asked for.
    std::optional<LineIndex> lines;
    if (report) lines.emplace(std::string_view(bytes.get(), size));
    Notes notes;
    notes.wantNodes = report != nullptr;
    notes.limits = limits;
    pugi::xml_document document;
    const auto parsed = document.load_buffer_inplace(bytes.get(), size);
    auto scene = readDocument(document, parsed, file.parent_path(), notes);
    if (report) fillReport(*report, notes, *lines);
    return scene;
}

std::shared_ptr<MemoryScene> loadColladaBytes(std::string_view bytes, const std::filesystem::path& baseFolder,
                                              ModelReport* report, const ModelLimits& limits) {
    if (report) *report = {};
    if (bytes.size() > limits.fileBytes)
        return refuseFile(report, "the model is larger than " + std::to_string(limits.fileBytes >> 20) + " MB");
    Notes notes;
    notes.wantNodes = report != nullptr;
    notes.limits = limits;
    pugi::xml_document document;
    const auto parsed = document.load_buffer(bytes.data(), bytes.size());
    auto scene = readDocument(document, parsed, baseFolder, notes);
    if (report) fillReport(*report, notes, LineIndex(bytes));
    return scene;
}

}  // namespace orrery::memory

// Meshes and the COLLADA 1.4.1 text of a model. Positions, normals and texture
// coordinates go into separate de-duplicated sources indexed per corner, the
// layout most exporters write and every importer reads.

#include "AssetGen.h"

#include <cmath>
#include <cstdio>
#include <map>
#include <numbers>

namespace assetgen {

namespace {

using Vec = std::array<double, 3>;

Vec sub(const Vec& a, const Vec& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
Vec cross(const Vec& a, const Vec& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
double dot(const Vec& a, const Vec& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

/// Adds a triangle, turned so that it is counter-clockwise seen from the side its normals face.
void addTriangle(Mesh& mesh, std::uint32_t a, std::uint32_t b, std::uint32_t c) {
    const Vec& pa = mesh.vertices[a].position;
    const Vec face = cross(sub(mesh.vertices[b].position, pa), sub(mesh.vertices[c].position, pa));
    const Vec& n = mesh.vertices[a].normal;
    const Vec& nb = mesh.vertices[b].normal;
    const Vec& nc = mesh.vertices[c].normal;
    const Vec wanted{n[0] + nb[0] + nc[0], n[1] + nb[1] + nc[1], n[2] + nb[2] + nc[2]};
    if (dot(face, wanted) >= 0)
        mesh.triangles.push_back({a, b, c});
    else
        mesh.triangles.push_back({a, c, b});
}

void addQuad(Mesh& mesh, const std::array<Vec, 4>& corners, const Vec& normal,
             const std::array<std::array<double, 2>, 4>& uv) {
    const auto base = static_cast<std::uint32_t>(mesh.vertices.size());
    for (int i = 0; i < 4; ++i) mesh.vertices.push_back({corners[i], normal, uv[i]});
    addTriangle(mesh, base, base + 1, base + 2);
    addTriangle(mesh, base, base + 2, base + 3);
}

std::string joined(const std::vector<std::string>& values) {
    std::string out;
    for (const auto& v : values) {
        if (!out.empty()) out += ' ';
        out += v;
    }
    return out;
}

/// Distinct formatted tuples in first-use order, with the index of each corner.
struct Table {
    std::vector<std::string> tuples;
    std::map<std::string, std::uint32_t> index;
    std::uint32_t add(const std::string& tuple) {
        auto [it, inserted] = index.emplace(tuple, static_cast<std::uint32_t>(tuples.size()));
        if (inserted) tuples.push_back(tuple);
        return it->second;
    }
};

std::string tuple(const double* values, int n) {
    std::string out;
    for (int i = 0; i < n; ++i) {
        if (i) out += ' ';
        out += formatNumber(values[i]);
    }
    return out;
}

void source(std::string& out, const std::string& id, const Table& table, int stride, const char* params) {
    const std::size_t count = table.tuples.size();
    out += "        <source id=\"" + id + "\">\n";
    out += "          <float_array id=\"" + id + "-array\" count=\"" + std::to_string(count * stride) + "\">" +
           joined(table.tuples) + "</float_array>\n";
    out += "          <technique_common>\n";
    out += "            <accessor source=\"#" + id + "-array\" count=\"" + std::to_string(count) + "\" stride=\"" +
           std::to_string(stride) + "\">";
    for (const char* p = params; *p; ++p) out += std::string("<param name=\"") + *p + "\" type=\"float\"/>";
    out += "</accessor>\n";
    out += "          </technique_common>\n";
    out += "        </source>\n";
}

const char* const kIdentity = "1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1";

}  // namespace

std::string formatNumber(double value) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.5f", value);
    std::string s = buffer;
    if (s.find('.') != std::string::npos) {
        while (s.back() == '0') s.pop_back();
        if (s.back() == '.') s.pop_back();
    }
    if (s == "-0") s = "0";
    return s;
}

Mesh uvSphere(double radius, int segments, int rings, bool inward) {
    Mesh mesh;
    for (int j = 0; j <= rings; ++j)
        for (int i = 0; i <= segments; ++i) {
            const double u = static_cast<double>(i) / segments, v = static_cast<double>(j) / rings;
            const auto d = inward ? insideSphereDirection(u, v) : sphereDirection(u, v);
            const double s = inward ? -1.0 : 1.0;
            mesh.vertices.push_back(
                {{d[0] * radius, d[1] * radius, d[2] * radius}, {d[0] * s, d[1] * s, d[2] * s}, {u, 1.0 - v}});
        }
    auto at = [&](int j, int i) { return static_cast<std::uint32_t>(j * (segments + 1) + i); };
    for (int j = 0; j < rings; ++j)
        for (int i = 0; i < segments; ++i) {
            // The pole rows collapse to one triangle per segment.
            if (j != 0) addTriangle(mesh, at(j, i), at(j, i + 1), at(j + 1, i));
            if (j != rings - 1) addTriangle(mesh, at(j, i + 1), at(j + 1, i + 1), at(j + 1, i));
        }
    return mesh;
}

Mesh annulus(double innerRadius, double outerRadius, int segments) {
    Mesh mesh;
    for (const double side : {1.0, -1.0}) {
        const auto base = static_cast<std::uint32_t>(mesh.vertices.size());
        for (int i = 0; i <= segments; ++i) {
            const double a = 2.0 * std::numbers::pi * i / segments;
            const double c = std::cos(a), s = std::sin(a), t = static_cast<double>(i) / segments;
            mesh.vertices.push_back({{innerRadius * c, 0, innerRadius * s}, {0, side, 0}, {0, t}});
            mesh.vertices.push_back({{outerRadius * c, 0, outerRadius * s}, {0, side, 0}, {1, t}});
        }
        for (int i = 0; i < segments; ++i) {
            const std::uint32_t in0 = base + 2 * i, out0 = in0 + 1, in1 = in0 + 2, out1 = in0 + 3;
            addTriangle(mesh, in0, out0, out1);
            addTriangle(mesh, in0, out1, in1);
        }
    }
    return mesh;
}

Mesh slab(double width, double thickness, double depth, double edgeU, double edgeV) {
    Mesh mesh;
    const double x = width / 2, y = thickness / 2, z = depth / 2;
    const std::array<double, 2> e{edgeU, edgeV};
    const std::array<std::array<double, 2>, 4> edge{e, e, e, e};
    // Top: the image's top edge lies along -z, its left edge along -x.
    addQuad(mesh, {{{-x, y, -z}, {x, y, -z}, {x, y, z}, {-x, y, z}}}, {0, 1, 0}, {{{0, 1}, {1, 1}, {1, 0}, {0, 0}}});
    addQuad(mesh, {{{-x, -y, -z}, {x, -y, -z}, {x, -y, z}, {-x, -y, z}}}, {0, -1, 0}, edge);
    addQuad(mesh, {{{-x, -y, z}, {x, -y, z}, {x, y, z}, {-x, y, z}}}, {0, 0, 1}, edge);
    addQuad(mesh, {{{-x, -y, -z}, {x, -y, -z}, {x, y, -z}, {-x, y, -z}}}, {0, 0, -1}, edge);
    addQuad(mesh, {{{x, -y, -z}, {x, y, -z}, {x, y, z}, {x, -y, z}}}, {1, 0, 0}, edge);
    addQuad(mesh, {{{-x, -y, -z}, {-x, y, -z}, {-x, y, z}, {-x, -y, z}}}, {-1, 0, 0}, edge);
    return mesh;
}

std::string colladaDocument(const Model& model) {
    std::string out;
    out += "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
    out += "<COLLADA xmlns=\"http://www.collada.org/2005/11/COLLADASchema\" version=\"1.4.1\">\n";
    out += "  <asset>\n";
    out += "    <contributor>\n      <authoring_tool>orrery-assetgen</authoring_tool>\n    </contributor>\n";
    // Fixed dates keep the output identical from run to run.
    out += "    <created>2024-01-01T00:00:00Z</created>\n";
    out += "    <modified>2024-01-01T00:00:00Z</modified>\n";
    out += "    <unit name=\"meter\" meter=\"1\"/>\n";
    out += "    <up_axis>Y_UP</up_axis>\n";
    out += "  </asset>\n";

    out += "  <library_images>\n";
    for (const auto& part : model.parts)
        out += "    <image id=\"" + part.name + "-image\" name=\"" + part.name + "-image\"><init_from>" + part.image +
               "</init_from></image>\n";
    out += "  </library_images>\n";

    out += "  <library_effects>\n";
    for (const auto& part : model.parts) {
        const std::string& n = part.name;
        const std::string texture = "<texture texture=\"" + n + "-sampler\" texcoord=\"UVMap\"/>";
        out += "    <effect id=\"" + n + "-effect\">\n";
        out += "      <profile_COMMON>\n";
        out += "        <newparam sid=\"" + n + "-surface\">\n";
        out += "          <surface type=\"2D\">\n            <init_from>" + n +
               "-image</init_from>\n          </surface>\n";
        out += "        </newparam>\n";
        out += "        <newparam sid=\"" + n + "-sampler\">\n";
        out += "          <sampler2D>\n            <source>" + n + "-surface</source>\n          </sampler2D>\n";
        out += "        </newparam>\n";
        out += "        <technique sid=\"common\">\n";
        out += "          <lambert>\n";
        if (part.emissive) out += "            <emission>" + texture + "</emission>\n";
        out += "            <diffuse>" + texture + "</diffuse>\n";
        if (part.transparent) out += "            <transparent opaque=\"A_ONE\">" + texture + "</transparent>\n";
        out += "          </lambert>\n";
        out += "        </technique>\n";
        out += "      </profile_COMMON>\n";
        out += "    </effect>\n";
    }
    out += "  </library_effects>\n";

    out += "  <library_materials>\n";
    for (const auto& part : model.parts)
        out += "    <material id=\"" + part.name + "-material\" name=\"" + part.name + "\"><instance_effect url=\"#" +
               part.name + "-effect\"/></material>\n";
    out += "  </library_materials>\n";

    out += "  <library_geometries>\n";
    for (const auto& part : model.parts) {
        const std::string& n = part.name;
        Table positions, normals, uvs;
        std::vector<std::string> corners;
        for (const auto& tri : part.mesh.triangles)
            for (const std::uint32_t v : tri) {
                const Vertex& vertex = part.mesh.vertices[v];
                corners.push_back(std::to_string(positions.add(tuple(vertex.position.data(), 3))) + ' ' +
                                  std::to_string(normals.add(tuple(vertex.normal.data(), 3))) + ' ' +
                                  std::to_string(uvs.add(tuple(vertex.uv.data(), 2))));
            }
        out += "    <geometry id=\"" + n + "-geometry\" name=\"" + n + "\">\n";
        out += "      <mesh>\n";
        source(out, n + "-positions", positions, 3, "XYZ");
        source(out, n + "-normals", normals, 3, "XYZ");
        source(out, n + "-map", uvs, 2, "ST");
        out += "        <vertices id=\"" + n + "-vertices\">\n";
        out += "          <input semantic=\"POSITION\" source=\"#" + n + "-positions\"/>\n";
        out += "        </vertices>\n";
        out += "        <triangles material=\"" + n + "-material\" count=\"" +
               std::to_string(part.mesh.triangles.size()) + "\">\n";
        out += "          <input semantic=\"VERTEX\" source=\"#" + n + "-vertices\" offset=\"0\"/>\n";
        out += "          <input semantic=\"NORMAL\" source=\"#" + n + "-normals\" offset=\"1\"/>\n";
        out += "          <input semantic=\"TEXCOORD\" source=\"#" + n + "-map\" offset=\"2\" set=\"0\"/>\n";
        out += "          <p>" + joined(corners) + "</p>\n";
        out += "        </triangles>\n";
        out += "      </mesh>\n";
        out += "    </geometry>\n";
    }
    out += "  </library_geometries>\n";

    out += "  <library_visual_scenes>\n";
    out += "    <visual_scene id=\"Scene\" name=\"Scene\">\n";
    out += "      <node id=\"" + model.topNode + "\" name=\"" + model.topNode + "\" type=\"NODE\">\n";
    out += "        <matrix sid=\"transform\">" + std::string(kIdentity) + "</matrix>\n";
    for (const auto& part : model.parts) {
        const std::string& n = part.name;
        out += "        <node id=\"" + n + "\" name=\"" + n + "\" type=\"NODE\">\n";
        out += "          <matrix sid=\"transform\">" + std::string(kIdentity) + "</matrix>\n";
        out += "          <instance_geometry url=\"#" + n + "-geometry\" name=\"" + n + "\">\n";
        out += "            <bind_material>\n              <technique_common>\n";
        out += "                <instance_material symbol=\"" + n + "-material\" target=\"#" + n + "-material\">\n";
        out +=
            "                  <bind_vertex_input semantic=\"UVMap\" input_semantic=\"TEXCOORD\" input_set=\"0\"/>\n";
        out += "                </instance_material>\n";
        out += "              </technique_common>\n            </bind_material>\n";
        out += "          </instance_geometry>\n";
        out += "        </node>\n";
    }
    out += "      </node>\n";
    out += "    </visual_scene>\n";
    out += "  </library_visual_scenes>\n";
    out += "  <scene>\n    <instance_visual_scene url=\"#Scene\"/>\n  </scene>\n";
    out += "</COLLADA>\n";
    return out;
}

}  // namespace assetgen

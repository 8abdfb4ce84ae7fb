// Loading model files into in-memory scenes: the shipped models, hand-written
// documents, and broken or hostile input (damaged and random bytes are the fuzz target's).

#include "content/BodyCatalog.h"
#include "platform/memory/collada/ColladaLoader.h"
#include "platform/memory/collada/ColladaNumbers.h"

#include "tests/support/Programs.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <numbers>
#include <sstream>

namespace orrery::memory {
namespace {

const std::filesystem::path kSource = ORRERY_SOURCE_DIR;

using orrery::testing::readFile;

std::shared_ptr<MemoryMeshGeometry> meshOf(const std::shared_ptr<MemoryNode>& node) {
    return std::dynamic_pointer_cast<MemoryMeshGeometry>(node->nodeGeometry());
}

void forEachNode(const std::shared_ptr<MemoryNode>& node,
                 const std::function<void(const std::shared_ptr<MemoryNode>&)>& f) {
    f(node);
    for (const auto& child : node->children()) forEachNode(child, f);
}

SCNVector3 apply(const simd_float4x4& m, SCNVector3 p) {
    const auto& c = m.columns;
    return {c[0][0] * p.x + c[1][0] * p.y + c[2][0] * p.z + c[3][0],
            c[0][1] * p.x + c[1][1] * p.y + c[2][1] * p.z + c[3][1],
            c[0][2] * p.x + c[1][2] * p.y + c[2][2] * p.z + c[3][2]};
}

/// The node's geometry bounds in the space of the scene root.
SCNBoundingBox worldBounds(const std::shared_ptr<MemoryNode>& node) {
    const SCNBoundingBox local = meshOf(node)->bounds;
    const simd_float4x4 m = node->worldTransform();
    SCNBoundingBox box{apply(m, local.min), apply(m, local.min)};
    for (int i = 0; i < 8; ++i) {
        const SCNVector3 p = apply(m, {i & 1 ? local.max.x : local.min.x, i & 2 ? local.max.y : local.min.y,
                                       i & 4 ? local.max.z : local.min.z});
        box.min = {std::min(box.min.x, p.x), std::min(box.min.y, p.y), std::min(box.min.z, p.z)};
        box.max = {std::max(box.max.x, p.x), std::max(box.max.y, p.y), std::max(box.max.z, p.z)};
    }
    return box;
}

std::vector<std::string_view> catalogPaths() {
    std::vector<std::string_view> paths;
    for (const auto& body : BodyCatalog::bodies()) paths.push_back(body.assetPath);
    for (const auto& button : BodyCatalog::buttons()) paths.push_back(button.assetPath);
    return paths;
}

TEST(ColladaLoader, EveryCatalogModelLoadsWithTexturedMeshes) {
    const auto paths = catalogPaths();
    ASSERT_EQ(paths.size(), 35u);
    for (const auto path : paths) {
        SCOPED_TRACE(std::string(path));
        ModelReport report;
        const auto scene = loadColladaFile(kSource / path, &report);
        ASSERT_NE(scene, nullptr);
        ASSERT_NE(scene->root(), nullptr);
        EXPECT_TRUE(report.warnings.empty()) << report.warnings.at(0).line << ": " << report.warnings.at(0).message;
        EXPECT_FALSE(scene->root()->nodeName.has_value()) << "the app names the root itself";
        ASSERT_EQ(scene->root()->children().size(), 1u);
        int meshes = 0;
        forEachNode(scene->root(), [&](const std::shared_ptr<MemoryNode>& node) {
            // No node inside a model may carry a catalogue name, or gestures would stop inside it.
            if (node->nodeName) {
                EXPECT_FALSE(BodyCatalog::isBodyName(*node->nodeName)) << *node->nodeName;
                EXPECT_FALSE(BodyCatalog::isButtonName(*node->nodeName)) << *node->nodeName;
            }
            const auto mesh = meshOf(node);
            if (!mesh) return;
            ++meshes;
            EXPECT_TRUE(node->nodeName.has_value());
            EXPECT_GT(mesh->indices.size(), 0u);
            EXPECT_EQ(mesh->indices.size() % 3, 0u);
            EXPECT_EQ(mesh->normals.size(), mesh->positions.size());
            EXPECT_EQ(mesh->textureCoordinates.size(), mesh->positions.size());
            const auto& b = mesh->bounds;
            const int extents = (b.max.x > b.min.x) + (b.max.y > b.min.y) + (b.max.z > b.min.z);
            EXPECT_GE(extents, 2);
            ASSERT_EQ(mesh->materials.size(), 1u);
            const auto* image = std::get_if<std::string>(&mesh->materials[0]->diffuseProperty->contents);
            ASSERT_NE(image, nullptr);
            EXPECT_TRUE(std::filesystem::exists(*image)) << *image;
            EXPECT_EQ(std::filesystem::path(*image).parent_path(), (kSource / path).parent_path().lexically_normal());
        });
        EXPECT_GE(meshes, 1);
    }
}

TEST(ColladaLoader, BodiesShareOneSizeAndFaceTheRightWay) {
    std::optional<SCNBoundingBox> common;
    for (const auto& body : BodyCatalog::bodies()) {
        SCOPED_TRACE(std::string(body.key));
        const auto scene = loadColladaFile(kSource / body.assetPath);
        ASSERT_NE(scene, nullptr);
        const auto sphere = scene->root()->findNamed(std::string(body.key) + "Mesh");
        ASSERT_NE(sphere, nullptr);
        const auto mesh = meshOf(sphere);
        ASSERT_NE(mesh, nullptr);
        // Normals point away from the centre, except on the star field seen from inside.
        const float outward = body.key == "Stars" ? -1.0f : 1.0f;
        for (std::size_t i = 0; i < mesh->positions.size(); ++i) {
            const auto& p = mesh->positions[i];
            const auto& n = mesh->normals[i];
            ASSERT_GT(outward * (p.x * n.x + p.y * n.y + p.z * n.z), 0.0f) << "vertex " << i;
        }
        // Triangles wind counter-clockwise seen from the side the normals face.
        for (std::size_t t = 0; t < mesh->indices.size(); t += 3) {
            const auto& a = mesh->positions[mesh->indices[t]];
            const auto& b = mesh->positions[mesh->indices[t + 1]];
            const auto& c = mesh->positions[mesh->indices[t + 2]];
            const SCNVector3 u{b.x - a.x, b.y - a.y, b.z - a.z}, v{c.x - a.x, c.y - a.y, c.z - a.z};
            const SCNVector3 face{u.y * v.z - u.z * v.y, u.z * v.x - u.x * v.z, u.x * v.y - u.y * v.x};
            const SCNVector3 centre{a.x + b.x + c.x, a.y + b.y + c.y, a.z + b.z + c.z};
            ASSERT_GT(outward * (face.x * centre.x + face.y * centre.y + face.z * centre.z), 0.0f)
                << "triangle " << t / 3;
        }
        const SCNBoundingBox box = worldBounds(sphere);
        if (body.key == "Stars") {
            EXPECT_GT(box.max.x - box.min.x, 4.0f) << "the star field encloses the scene";
            continue;
        }
        EXPECT_NEAR(box.max.x - box.min.x, 1.0f, 1e-4f);
        EXPECT_NEAR(box.max.y - box.min.y, 1.0f, 1e-4f);
        if (!common) common = box;
        EXPECT_EQ(box, *common) << "every body is the same size at scale 1";
    }
}

TEST(ColladaLoader, SaturnRingsAndButtonPanels) {
    const auto saturn = loadColladaFile(kSource / "art.scnassets/Saturn/Saturn.dae");
    ASSERT_NE(saturn, nullptr);
    const auto rings = saturn->root()->findNamed("SaturnRingsMesh");
    ASSERT_NE(rings, nullptr);
    const SCNBoundingBox ringBox = worldBounds(rings), planet = worldBounds(saturn->root()->findNamed("SaturnMesh"));
    EXPECT_GT(ringBox.max.x - ringBox.min.x, planet.max.x - planet.min.x);
    EXPECT_LT(ringBox.max.y - ringBox.min.y, 1e-4f) << "the rings are flat";

    for (const auto& button : BodyCatalog::buttons()) {
        SCOPED_TRACE(std::string(button.key));
        const auto scene = loadColladaFile(kSource / button.assetPath);
        ASSERT_NE(scene, nullptr);
        const auto mesh = scene->root()->findNamed(std::string(button.nodeName) + "Mesh");
        ASSERT_NE(mesh, nullptr);
        const SCNBoundingBox box = worldBounds(mesh);
        EXPECT_NEAR(box.max.x - box.min.x, 2.0f, 1e-5f);
        EXPECT_NEAR(box.max.z - box.min.z, 0.5f, 1e-5f);
    }
}

// --- Hand-written documents ----------------------------------------------------

const char* const kHeader =
    R"(<?xml version="1.0"?><COLLADA xmlns="http://www.collada.org/2005/11/COLLADASchema" version="1.4.1">)";

/// A unit quad in the x-y plane: positions, normals, texture coordinates, a textured material
/// and a coloured one. `p` and the accessor attributes can be replaced to break it.
std::string quadDocument(const std::string& p = "0 0 0 1 0 1 2 0 2 0 0 0 2 0 2 3 0 3",
                         const std::string& positionAccessor = R"(count="4" stride="3")",
                         const std::string& positions = "-0.5 -0.5 0 0.5 -0.5 0 0.5 0.5 0 -0.5 0.5 0",
                         const std::string& nodes = R"(<node id="quad-node" name="Quad"><instance_geometry url="#quad">
                             <bind_material><technique_common>
                               <instance_material symbol="skin" target="#textured"/>
                             </technique_common></bind_material></instance_geometry></node>)") {
    return std::string(kHeader) + R"(
      <library_images><image id="tex"><init_from>textures/My%20Skin.png</init_from></image></library_images>
      <library_effects>
        <effect id="textured-fx"><profile_COMMON>
          <newparam sid="surf"><surface type="2D"><init_from>tex</init_from></surface></newparam>
          <newparam sid="samp"><sampler2D><source>surf</source></sampler2D></newparam>
          <technique sid="t"><phong><diffuse><texture texture="samp" texcoord="uv"/></diffuse></phong></technique>
        </profile_COMMON></effect>
        <effect id="red-fx"><profile_COMMON><technique sid="t">
          <lambert><diffuse><color>1 0 0 0.5</color></diffuse></lambert>
        </technique></profile_COMMON></effect>
      </library_effects>
      <library_materials>
        <material id="textured" name="Skin"><instance_effect url="#textured-fx"/></material>
        <material id="red"><instance_effect url="#red-fx"/></material>
      </library_materials>
      <library_geometries><geometry id="quad"><mesh>
        <source id="pos"><float_array id="pos-a" count="12">)" +
           positions + R"(</float_array>
          <technique_common><accessor source="#pos-a" )" +
           positionAccessor + R"(>
            <param name="X" type="float"/><param name="Y" type="float"/><param name="Z" type="float"/>
          </accessor></technique_common></source>
        <source id="nor"><float_array id="nor-a" count="3">0 0 1</float_array>
          <technique_common><accessor source="#nor-a" count="1" stride="3">
            <param name="X" type="float"/><param name="Y" type="float"/><param name="Z" type="float"/>
          </accessor></technique_common></source>
        <source id="uv"><float_array id="uv-a" count="8">0 0 1 0 1 1 0 1</float_array>
          <technique_common><accessor source="#uv-a" count="4" stride="2">
            <param name="S" type="float"/><param name="T" type="float"/>
          </accessor></technique_common></source>
        <vertices id="verts"><input semantic="POSITION" source="#pos"/></vertices>
        <triangles material="skin" count="2">
          <input semantic="VERTEX" source="#verts" offset="0"/>
          <input semantic="NORMAL" source="#nor" offset="1"/>
          <input semantic="TEXCOORD" source="#uv" offset="2" set="0"/>
          <p>)" +
           p + R"(</p>
        </triangles>
      </mesh></geometry></library_geometries>
      <library_visual_scenes><visual_scene id="vs">)" +
           nodes + R"(</visual_scene></library_visual_scenes>
      <scene><instance_visual_scene url="#vs"/></scene></COLLADA>)";
}

TEST(ColladaLoader, ReadsMeshMaterialsAndResolvesTexturePaths) {
    const auto scene = loadColladaBytes(quadDocument(), "/models/quad");
    ASSERT_NE(scene, nullptr);
    ASSERT_EQ(scene->root()->children().size(), 1u);
    const auto node = scene->root()->children()[0];
    EXPECT_EQ(node->nodeName, "Quad");
    const auto mesh = meshOf(node);
    ASSERT_NE(mesh, nullptr);
    // Four corners shared by two triangles: four vertices, six indices.
    EXPECT_EQ(mesh->positions.size(), 4u);
    EXPECT_EQ(mesh->indices, (std::vector<std::uint32_t>{0, 1, 2, 0, 2, 3}));
    EXPECT_EQ(mesh->bounds, (SCNBoundingBox{{-0.5f, -0.5f, 0}, {0.5f, 0.5f, 0}}));
    EXPECT_EQ(mesh->normals[3], (SCNVector3{0, 0, 1}));
    EXPECT_EQ(mesh->textureCoordinates[2], (std::array<float, 2>{1, 1}));
    ASSERT_EQ(mesh->materials.size(), 1u);
    EXPECT_EQ(mesh->materials[0]->name, "Skin");
    EXPECT_EQ(std::get<std::string>(mesh->materials[0]->diffuseProperty->contents),
              "/models/quad/textures/My Skin.png");

    // A texture may name the image itself rather than a sampler.
    std::string direct = quadDocument();
    direct.replace(direct.find(R"(texture="samp")"), 14, R"(texture="tex")");
    const auto directScene = loadColladaBytes(direct, "/models/quad");
    ASSERT_NE(directScene, nullptr);
    EXPECT_EQ(
        std::get<std::string>(meshOf(directScene->root()->children()[0])->materials.at(0)->diffuseProperty->contents),
        "/models/quad/textures/My Skin.png");
}

TEST(ColladaLoader, ImageAddressesAreDecodedAndResolvedAgainstTheModelsFolder) {
    const std::pair<const char*, const char*> addresses[] = {
        {"Skin.pn%67", "/models/quad/Skin.png"},  // an escape at the very end
        {"%41%6a%4B.png", "/models/quad/AjK.png"},
        {"Skin%2", "/models/quad/Skin%2"},                      // incomplete or not hexadecimal: kept as written
        {"a%+1b%-1c% 1.png", "/models/quad/a%+1b%-1c% 1.png"},  // signs and spaces are not digits
        {"Skin%zz.png", "/models/quad/Skin%zz.png"},
        {" \n ../maps/Skin.png \t", "/models/maps/Skin.png"},
        {"file:///maps/Skin.png", "/maps/Skin.png"},
        {"<ref>maps/Skin.png</ref>", "/models/quad/maps/Skin.png"},
        {" \t", nullptr},  // no address: no image
    };
    for (const auto& [written, resolved] : addresses) {
        std::string document = quadDocument();
        const std::string original = "textures/My%20Skin.png";
        document.replace(document.find(original), original.size(), written);
        const auto scene = loadColladaBytes(document, "/models/quad");
        ASSERT_NE(scene, nullptr) << written;
        const auto& contents = meshOf(scene->root()->children()[0])->materials.at(0)->diffuseProperty->contents;
        const auto* image = std::get_if<std::string>(&contents);
        EXPECT_EQ(image ? *image : "<none>", resolved ? resolved : "<none>") << written;
    }
}

TEST(ColladaLoader, TakesTheFirstTextureCoordinatesAndNothingElseForThem) {
    // Per-vertex inputs: normals, a colour, then two sets of texture coordinates; the first set counts.
    const std::string normals =
        R"(<source id="nor4"><float_array id="nor4-a" count="12">0 0 1 0 1 0 1 0 0 0 0 -1</float_array>
        <technique_common><accessor source="#nor4-a" count="4" stride="3"><param name="X" type="float"/><param name="Y" type="float"/>
        <param name="Z" type="float"/></accessor></technique_common></source>)";
    const std::string vertices =
        R"(<vertices id="verts"><input semantic="POSITION" source="#pos"/><input semantic="NORMAL" source="#nor4"/>
        <input semantic="COLOR" source="#pos"/><input semantic="TEXCOORD" source="#uv"/>
        <input semantic="TEXCOORD" source="#uv2"/></vertices>)";
    const std::string uv2 = R"(<source id="uv2"><float_array id="uv2-a" count="8">9 9 9 9 9 9 9 9</float_array>
        <technique_common><accessor source="#uv2-a" count="4" stride="2"><param name="S" type="float"/><param name="T" type="float"/>
        </accessor></technique_common></source>)";
    for (const bool withTexture : {true, false}) {
        std::string document = quadDocument("0 1 2 0 2 3");
        const auto at = document.find("<vertices"), end = document.find("</vertices>") + 11;
        std::string inputs = vertices;
        if (!withTexture) inputs.erase(inputs.find("<input semantic=\"TEXCOORD\""));
        document.replace(at, end - at, normals + (withTexture ? uv2 + inputs : inputs + "</vertices>"));
        const auto start = document.find("<input semantic=\"NORMAL\" source=\"#nor\"");
        document.erase(start, document.find("<p>") - start);
        const auto scene = loadColladaBytes(document, "/");
        ASSERT_NE(scene, nullptr) << withTexture;
        const auto mesh = meshOf(scene->root()->children()[0]);
        ASSERT_NE(mesh, nullptr);
        EXPECT_EQ(mesh->indices.size(), 6u);
        EXPECT_EQ(mesh->normals, (std::vector<SCNVector3>{{0, 0, 1}, {0, 1, 0}, {1, 0, 0}, {0, 0, -1}}));
        if (!withTexture) {
            EXPECT_TRUE(mesh->textureCoordinates.empty());
            continue;
        }
        ASSERT_EQ(mesh->textureCoordinates.size(), 4u);
        EXPECT_EQ(mesh->textureCoordinates[2], (std::array<float, 2>{1, 1}));
    }
}

TEST(ColladaLoader, CornerInputsOtherThanNormalsAreNotTakenForThem) {
    // Texture coordinates but no normals; then a second NORMAL input, which is ignored.
    std::string noNormals = quadDocument();
    noNormals.erase(noNormals.find(R"(<input semantic="NORMAL")"),
                    std::string(R"(<input semantic="NORMAL" source="#nor" offset="1"/>)").size());
    std::string twoNormals = quadDocument();
    twoNormals.insert(twoNormals.find(R"(<input semantic="TEXCOORD")"),
                      R"(<input semantic="NORMAL" source="#uv" offset="2"/>)");
    for (const auto& [document, normals] : {std::pair{noNormals, 0u}, std::pair{twoNormals, 4u}}) {
        ModelReport report;
        const auto scene = loadColladaBytes(document, "/", &report);
        ASSERT_NE(scene, nullptr);
        const auto mesh = meshOf(scene->root()->children()[0]);
        EXPECT_EQ(mesh->normals.size(), normals);
        EXPECT_EQ(mesh->textureCoordinates.size(), 4u);
        EXPECT_TRUE(report.warnings.empty()) << report.warnings.at(0).message;
    }
}

TEST(ColladaLoader, ReadsNumbersInEveryDecimalForm) {
    // The same quad as above, its coordinates spelled with signs, exponents, bare points and
    // more digits than a double holds; each must read as the nearest float.
    const auto scene = loadColladaBytes(
        quadDocument(
            "0 0 0 1 0 1 2 0 2 0 0 0 2 0 2 3 0 3", R"(count="4" stride="3")",
            "-5e-1 -.5 +0e-30 0.50 -0.5E0 -0 5000e-4 0.499999999999999999999999 0. -0.5 +.5e+0 1.17549435e-38"),
        "/");
    ASSERT_NE(scene, nullptr);
    const auto mesh = meshOf(scene->root()->children()[0]);
    ASSERT_EQ(mesh->positions.size(), 4u);
    EXPECT_EQ(mesh->positions[0], (SCNVector3{-0.5f, -0.5f, 0}));
    EXPECT_EQ(mesh->positions[1], (SCNVector3{0.5f, -0.5f, 0}));
    EXPECT_EQ(mesh->positions[2], (SCNVector3{0.5f, 0.5f, 0}));
    EXPECT_EQ(mesh->positions[3], (SCNVector3{-0.5f, 0.5f, 1.17549435e-38f}));
}

TEST(ColladaLoader, NumberListsHoldAtMostTheirLimit) {
    for (const std::size_t most : {3u, 2u}) {
        std::vector<float> floats;
        std::vector<std::uint32_t> indices;
        std::string whyFloats, whyIndices;
        const bool fits = most == 3;
        EXPECT_EQ(collada::parseFloats(" 1 2.5 3 ", floats, 0, &whyFloats, most), fits);
        EXPECT_EQ(collada::parseIndices(" 1 2 3 ", indices, 0, &whyIndices, most), fits);
        const std::string refusal = fits ? "" : "more than 2 numbers in one list";
        EXPECT_EQ(whyFloats, refusal);
        EXPECT_EQ(whyIndices, refusal);
        if (fits) {
            EXPECT_EQ(floats, (std::vector<float>{1, 2.5f, 3}));
            EXPECT_EQ(indices, (std::vector<std::uint32_t>{1, 2, 3}));
        }
    }
}

TEST(ColladaLoader, SplitsCornersThatShareAPositionButNotAnAttribute) {
    // Corner 0 appears with texture coordinate 0 and again with texture coordinate 2.
    const auto scene = loadColladaBytes(quadDocument("0 0 0 1 0 1 2 0 2 0 0 2 2 0 2 3 0 3"), "/");
    ASSERT_NE(scene, nullptr);
    const auto mesh = meshOf(scene->root()->children()[0]);
    EXPECT_EQ(mesh->positions.size(), 5u);
    EXPECT_EQ(mesh->positions[mesh->indices[3]], mesh->positions[mesh->indices[0]]);
    EXPECT_NE(mesh->textureCoordinates[mesh->indices[3]], mesh->textureCoordinates[mesh->indices[0]]);
}

TEST(ColladaLoader, KeepsNamesAndComposesTransforms) {
    const std::string nodes = R"(
      <node id="outer-id" name="Outer">
        <matrix>2 0 0 1  0 2 0 2  0 0 2 3  0 0 0 1</matrix>
        <node id="inner-id">
          <translate>0 1 0</translate><rotate>0 1 0 90</rotate><scale>1 3 1</scale>
          <instance_geometry url="#quad"/>
          <instance_geometry url="#quad" name="Second"/>
        </node>
        <instance_node url="#library-node"/>
      </node>
      <node name="Plain"/>)";
    std::string document = quadDocument("0 0 0 1 0 1 2 0 2 0 0 0 2 0 2 3 0 3", R"(count="4" stride="3")",
                                        "-0.5 -0.5 0 0.5 -0.5 0 0.5 0.5 0 -0.5 0.5 0", nodes);
    document.insert(
        document.find("<library_visual_scenes>"),
        R"(<library_nodes><node id="library-node" name="FromLibrary"><translate>5 0 0</translate></node></library_nodes>)");
    const auto scene = loadColladaBytes(document, "/");
    ASSERT_NE(scene, nullptr);
    const auto& top = scene->root()->children();
    ASSERT_EQ(top.size(), 2u);
    EXPECT_EQ(top[1]->nodeName, "Plain");
    EXPECT_EQ(top[1]->nodeScale(), (SCNVector3{1, 1, 1}));

    const auto outer = top[0];
    EXPECT_EQ(outer->nodeName, "Outer");
    EXPECT_EQ(outer->nodePosition(), (SCNVector3{1, 2, 3}));
    EXPECT_EQ(outer->nodeScale(), (SCNVector3{2, 2, 2}));
    ASSERT_EQ(outer->children().size(), 2u);

    const auto inner = outer->children()[0];
    EXPECT_EQ(inner->nodeName, "inner-id") << "the id stands in for a missing name";
    EXPECT_EQ(inner->nodePosition(), (SCNVector3{0, 1, 0}));
    EXPECT_NEAR(inner->nodeScale().y, 3.0f, 1e-5f);
    EXPECT_NEAR(inner->nodeRotation().y, 1.0f, 1e-5f);
    EXPECT_NEAR(inner->nodeRotation().w, std::numbers::pi_v<float> / 2, 1e-5f);
    // The second mesh of the node hangs below it.
    EXPECT_NE(inner->nodeGeometry(), nullptr);
    ASSERT_EQ(inner->children().size(), 1u);
    EXPECT_EQ(inner->children()[0]->nodeName, "Second");
    EXPECT_NE(inner->children()[0]->nodeGeometry(), nullptr);
    // The quad's corner (0.5, 0.5, 0): scaled by 3 in y, turned a quarter about y (x goes to -z),
    // lifted by 1, then the outer scale 2 and offset (1, 2, 3).
    const SCNVector3 corner = apply(inner->worldTransform(), {0.5f, 0.5f, 0});
    EXPECT_NEAR(corner.x, 1.0f, 1e-4f);
    EXPECT_NEAR(corner.y, 2.0f + 2.0f * (1.0f + 1.5f), 1e-4f);
    EXPECT_NEAR(corner.z, 3.0f - 1.0f, 1e-4f);

    EXPECT_EQ(outer->children()[1]->nodeName, "FromLibrary");
    EXPECT_EQ(outer->children()[1]->nodePosition(), (SCNVector3{5, 0, 0}));
}

TEST(ColladaLoader, TriangulatesPolylistsAndReadsColours) {
    std::string document = quadDocument();
    const auto start = document.find("<triangles"), end = document.find("</triangles>") + 12;
    document.replace(start, end - start, R"(<polylist material="red" count="1">
          <input semantic="VERTEX" source="#verts" offset="0"/>
          <vcount>4</vcount><p>0 1 2 3</p></polylist>)");
    const auto scene = loadColladaBytes(document, "/");
    ASSERT_NE(scene, nullptr);
    const auto mesh = meshOf(scene->root()->children()[0]);
    EXPECT_EQ(mesh->indices, (std::vector<std::uint32_t>{0, 1, 2, 0, 2, 3}));
    EXPECT_TRUE(mesh->normals.empty());
    ASSERT_EQ(mesh->materials.size(), 1u);
    EXPECT_EQ(mesh->materials[0]->name, "red") << "unbound symbol taken as the material id";
    EXPECT_EQ(std::get<UIColor>(mesh->materials[0]->diffuseProperty->contents), (UIColor{1, 0, 0, 0.5}));
    // A four-sided polygon whose last corner names a normal past the end is left out whole.
    std::string badNormal = quadDocument();
    const auto from = badNormal.find("<triangles"), to = badNormal.find("</triangles>") + 12;
    badNormal.replace(from, to - from, R"(<polylist count="1"><input semantic="VERTEX" source="#verts" offset="0"/>
          <input semantic="NORMAL" source="#nor" offset="1"/><vcount>4</vcount><p>0 0 1 0 2 0 3 1</p></polylist>)");
    ModelReport report;
    const auto left = loadColladaBytes(badNormal, "/", &report);
    ASSERT_NE(left, nullptr);
    EXPECT_TRUE(meshOf(left->root()->children()[0])->indices.empty());
    ASSERT_EQ(report.warnings.size(), 1u);
    EXPECT_EQ(report.warnings[0].message, "<polylist> left out: normal index 1 past the 1 normals");

    // Each shading model gives its colour; a constant (unlit) one as emission only; three numbers
    // are opaque; a colour of two numbers, or an unknown shading model, gives none.
    const std::string lambert = "<lambert><diffuse><color>1 0 0 0.5</color></diffuse></lambert>";
    const auto at = document.find(lambert);
    ASSERT_NE(at, std::string::npos);
    const std::pair<std::string, MaterialContents> shadings[] = {
        {"<constant><emission><color>0 1 0 1</color></emission></constant>", UIColor{0, 1, 0, 1}},
        {"<phong><diffuse><color>0 0 1</color></diffuse></phong>", UIColor{0, 0, 1, 1}},
        {"<blinn><diffuse><color>0.5 0.5 0.5 0.25</color></diffuse></blinn>", UIColor{0.5, 0.5, 0.5, 0.25}},
        {"<lambert><diffuse><color>1 1</color></diffuse></lambert>", std::monostate{}},
        {"<toon><diffuse><color>1 0 0 1</color></diffuse></toon>", std::monostate{}},
    };
    for (const auto& [shading, expected] : shadings) {
        std::string changed = document;
        changed.replace(at, lambert.size(), shading);
        const auto scene = loadColladaBytes(changed, "/");
        ASSERT_NE(scene, nullptr);
        EXPECT_EQ(meshOf(scene->root()->children()[0])->materials.at(0)->diffuseProperty->contents, expected)
            << shading;
    }
}

/// The quad with `positions`, shown through a skin whose bind-shape matrix is `bindShape` (16 numbers).
std::string skinnedQuad(const std::string& positions, const std::string& bindShape) {
    std::string document = quadDocument("0 0 0 1 0 1 2 0 2 0 0 0 2 0 2 3 0 3", R"(count="4" stride="3")", positions,
                                        R"(<node name="S"><instance_controller url="#skin"/></node>)");
    return document.insert(document.find("<library_visual_scenes>"),
                           "<library_controllers><controller id=\"skin\"><skin source=\"#quad\"><bind_shape_matrix>" +
                               bindShape + "</bind_shape_matrix></skin></controller></library_controllers>");
}

TEST(ColladaLoader, SkinsMoveByTheBindShapeAndKeepNormalsUpright) {
    // A general bind shape, once mirroring (first row negated) and once shrinking: points move by
    // it, and the normal (1, 2, 3) stays at right angles to the moved surface, facing the same way.
    for (const auto& [sign, k] : {std::pair{1.0, 1.0}, std::pair{-1.0, 1.0}, std::pair{1.0, 0.05}}) {
        const double m[3][4] = {
            {2 * sign * k, 0.5 * sign * k, 0, 1}, {0, 3 * k, 0.25 * k, 0}, {0.5 * k, 0.25 * k, 4 * k, 0.75}};
        std::string matrix;
        for (const auto& row : m)
            for (const double x : row) matrix += std::to_string(x) + " ";
        std::string document = skinnedQuad("-0.5 -0.5 0.25 0.5 -0.5 0 0.5 0.5 0 -0.5 0.5 0", matrix + "0 0 0 1");
        document.replace(document.find(">0 0 1<"), 7, ">1 2 3<");
        const auto scene = loadColladaBytes(document, "/");
        ASSERT_NE(scene, nullptr);
        const auto mesh = meshOf(scene->root()->children().at(0));
        ASSERT_NE(mesh, nullptr);
        const auto moved = [&](double x, double y, double z) {
            std::array<double, 3> out;
            for (int r = 0; r < 3; ++r) out[r] = m[r][0] * x + m[r][1] * y + m[r][2] * z + m[r][3];
            return out;
        };
        const auto corner = moved(-0.5, -0.5, 0.25);
        EXPECT_NEAR(mesh->positions.at(0).x, corner[0], 1e-6);
        EXPECT_NEAR(mesh->positions[0].y, corner[1], 1e-6);
        EXPECT_NEAR(mesh->positions[0].z, corner[2], 1e-6);
        ASSERT_EQ(mesh->normals.size(), 4u);
        const auto dot = [](const SCNVector3& n, std::array<double, 3> v) {
            return n.x * v[0] + n.y * v[1] + n.z * v[2];
        };
        const auto translation = moved(0, 0, 0);
        const auto direction = [&](double x, double y, double z) {
            auto v = moved(x, y, z);
            for (int r = 0; r < 3; ++r) v[r] -= translation[r];
            return v;
        };
        for (const SCNVector3& n : mesh->normals) {
            EXPECT_NEAR(dot(n, {n.x, n.y, n.z}), 1.0, 1e-6);
            EXPECT_NEAR(dot(n, direction(2, -1, 0)), 0.0, 1e-5) << sign;  // (2, -1, 0) and (3, 0, -1) lie
            EXPECT_NEAR(dot(n, direction(3, 0, -1)), 0.0, 1e-5) << sign;  // in the surface of normal (1, 2, 3)
            EXPECT_GT(dot(n, direction(1, 2, 3)), 0.0) << sign;
        }
    }
    // A bind shape that flattens x (its one change in the first column) puts every point on
    // x = 0 and crushes the normal (0, 0, 1) to nothing: it keeps its direction.
    const auto scene = loadColladaBytes(
        skinnedQuad("-0.5 -0.5 0 0.5 -0.5 0 0.5 0.5 0 -0.5 0.5 0", "0 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1"), "/");
    ASSERT_NE(scene, nullptr);
    const auto flat = meshOf(scene->root()->children().at(0));
    for (const SCNVector3& p : flat->positions) EXPECT_EQ(p.x, 0.0f);
    for (const SCNVector3& n : flat->normals) EXPECT_EQ(n, (SCNVector3{0, 0, 1}));
}

// --- Broken and hostile input ---------------------------------------------------

TEST(ColladaLoader, RejectsFilesThatAreNotModels) {
    EXPECT_EQ(loadColladaFile(kSource / "art.scnassets/NoSuchModel.dae"), nullptr);
    EXPECT_EQ(loadColladaFile(kSource / "art.scnassets"), nullptr) << "a folder";
    const orrery::testing::TempDir dir;
    std::ofstream(dir.path / "one.dae") << "<";  // read whole in one call of one byte
    ModelReport oneByte;
    EXPECT_EQ(loadColladaFile(dir.path / "one.dae", &oneByte), nullptr);
    ASSERT_TRUE(oneByte.error.has_value());
    EXPECT_TRUE(oneByte.error->message.starts_with("not well-formed XML")) << oneByte.error->message;
    EXPECT_EQ(loadColladaBytes("", "/"), nullptr);

    const std::string sun = readFile(kSource / "art.scnassets/Sun/Sun.dae");
    ASSERT_GT(sun.size(), 1000u);
    EXPECT_EQ(loadColladaBytes(sun.substr(0, sun.size() / 2), "/"), nullptr) << "truncated";
}

TEST(ColladaLoader, LeavesOutInconsistentMeshData) {
    const std::string p = "0 0 0 1 0 1 2 0 2 0 0 0 2 0 2 3 0 3";
    const std::string acc = R"(count="4" stride="3")";
    const std::vector<std::pair<const char*, std::string>> broken{
        {"position index past the end", quadDocument("0 0 0 1 0 1 4 0 2 0 0 0 2 0 2 3 0 3")},
        {"normal index past the end", quadDocument("0 1 0 1 0 1 2 0 2 0 0 0 2 0 2 3 0 3")},
        {"texture index past the end", quadDocument("0 0 0 1 0 1 2 0 9 0 0 0 2 0 2 3 0 3")},
        {"huge index", quadDocument("0 0 0 1 0 1 4294967295 0 2 0 0 0 2 0 2 3 0 3")},
        {"negative index", quadDocument("0 0 0 1 0 1 -1 0 2 0 0 0 2 0 2 3 0 3")},
        {"index too large for 32 bits", quadDocument("0 0 0 1 0 1 99999999999 0 2 0 0 0 2 0 2 3 0 3")},
        {"index of eleven digits", quadDocument("0 0 0 1 0 1 00000000002 0 2 0 0 0 2 0 2 3 0 3")},
        {"accessor longer than its array", quadDocument(p, R"(count="5" stride="3")")},
        {"accessor offset past the end", quadDocument(p, R"(count="4" stride="3" offset="1")")},
        {"zero stride", quadDocument(p, R"(count="4" stride="0")")},
        {"stride too small for three params", quadDocument(p, R"(count="4" stride="2")")},
        {"count that wraps", quadDocument(p, R"(count="4294967295" stride="3")")},
        {"malformed count", quadDocument(p, R"(count="4x" stride="3")")},
        {"not a number", quadDocument(p, acc, "-0.5 -0.5 0 0.5 nan 0 0.5 0.5 0 -0.5 0.5 0")},
        {"infinity", quadDocument(p, acc, "-0.5 -0.5 0 0.5 -0.5 0 0.5 0.5 inf -0.5 0.5 0")},
        {"out of float range", quadDocument(p, acc, "-0.5 -0.5 0 0.5 -0.5 0 0.5 0.5 1e99 -0.5 0.5 0")},
        {"text in an array", quadDocument(p, acc, "-0.5 -0.5 0 0.5 -0.5 0 0.5 0.5 zero -0.5 0.5 0")},
    };
    // The file loads; the unreadable primitive is left out, and said so.
    for (const auto& [what, document] : broken) {
        ModelReport report;
        const auto scene = loadColladaBytes(document, "/", &report);
        ASSERT_NE(scene, nullptr) << what;
        const auto mesh = meshOf(scene->root()->children().at(0));
        EXPECT_TRUE(mesh->indices.empty() && mesh->positions.empty() && mesh->normals.empty() &&
                    mesh->textureCoordinates.empty())
            << what;
        ASSERT_EQ(report.warnings.size(), 1u) << what;
        EXPECT_TRUE(report.warnings[0].message.starts_with("<triangles> left out: ")) << report.warnings[0].message;
    }

    // A triangle count above what <p> holds reads only the complete triangles.
    std::string overCounted = quadDocument();
    overCounted.replace(overCounted.find(R"(count="2")"), 9, R"(count="7")");
    ModelReport report;
    const auto scene = loadColladaBytes(overCounted, "/", &report);
    ASSERT_NE(scene, nullptr);
    EXPECT_EQ(meshOf(scene->root()->children()[0])->indices.size(), 6u);
    EXPECT_EQ(report.warnings.size(), 1u);
}

TEST(ColladaLoader, LeavesOutUnreadableTransforms) {
    const std::string p = "0 0 0 1 0 1 2 0 2 0 0 0 2 0 2 3 0 3";
    const std::string acc = R"(count="4" stride="3")";
    const std::string pos = "-0.5 -0.5 0 0.5 -0.5 0 0.5 0.5 0 -0.5 0.5 0";
    // Unreadable transform elements are left out; the node stays where the others put it.
    ModelReport report;
    const auto scene =
        loadColladaBytes(quadDocument(p, acc, pos,
                                      R"(<node name="A"><matrix>1 0 0 nan 0 1 0 0 0 0 1 0 0 0 0 1</matrix></node>
                        <node name="C"><rotate>0 0 0 45</rotate><translate>1 2</translate><scale>2 2 2</scale></node>)"),
                         "/", &report);
    ASSERT_NE(scene, nullptr);
    EXPECT_EQ(report.warnings.size(), 2u);
    for (const auto& node : scene->root()->children())
        EXPECT_EQ(node->nodePosition(), (SCNVector3{0, 0, 0})) << *node->nodeName;
    EXPECT_EQ(scene->root()->children()[1]->nodeScale(), (SCNVector3{2, 2, 2}));
    // Finite numbers whose product leaves the float range cannot be a node's transform.
    EXPECT_EQ(
        loadColladaBytes(
            quadDocument(p, acc, pos, R"(<node><scale>1e30 1e30 1e30</scale><scale>1e30 1e30 1e30</scale></node>)"),
            "/"),
        nullptr);
}

}  // namespace
}  // namespace orrery::memory

// What modelling tools export: one small hand-written document per feature and per failure
// mode, with the nodes, triangle counts, transforms or messages the loader must give.

#include "platform/memory/collada/ColladaLoader.h"

#include "tests/support/Programs.h"

#include <gtest/gtest.h>

#include <cctype>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <optional>
#include <functional>
#include <string>
#include <vector>

namespace orrery::memory {
namespace {

/// A COLLADA document, one element a line so that messages can name lines.
std::string document(const std::string& libraries, const std::string& nodes, const std::string& asset = "") {
    return R"(<?xml version="1.0"?>
<COLLADA xmlns="http://www.collada.org/2005/11/COLLADASchema" version="1.4.1">
<asset>)" + asset +
           R"(</asset>
)" + libraries +
           R"(
<library_visual_scenes><visual_scene id="vs">
)" + nodes +
           R"(
</visual_scene></library_visual_scenes>
<scene><instance_visual_scene url="#vs"/></scene>
</COLLADA>)";
}

constexpr const char* kSquare = "0 0 0 1 0 0 1 1 0 0 1 0";  // the unit square, counter-clockwise seen from +z

/// <library_geometries> with one mesh "g" over `positions` (params X Y Z unless given), holding `primitives`.
std::string
geometry(const std::string& primitives, const std::string& positions = kSquare,
         const std::string& params =
             R"(<param name="X" type="float"/><param name="Y" type="float"/><param name="Z" type="float"/>)",
         int stride = 3) {
    std::size_t count = 0;
    for (std::size_t at = positions.find_first_not_of(' '); at != std::string::npos;
         at = positions.find_first_not_of(' ', positions.find(' ', at)))
        ++count;
    return R"(<library_geometries><geometry id="g"><mesh>
<source id="pos"><float_array id="pos-a" count=")" +
           std::to_string(count) + R"(">)" + positions + R"(</float_array>
<technique_common><accessor source="#pos-a" count=")" +
           std::to_string(count / stride) + R"(" stride=")" + std::to_string(stride) + R"(">)" + params +
           R"(</accessor></technique_common></source>
<vertices id="v"><input semantic="POSITION" source="#pos"/></vertices>
)" + primitives +
           R"(
</mesh></geometry></library_geometries>)";
}

std::string primitive(const std::string& kind, const std::string& body, const std::string& count = "1") {
    return "<" + kind + " count=\"" + count + "\"><input semantic=\"VERTEX\" source=\"#v\" offset=\"0\"/>" + body +
           "</" + kind + ">";
}

const std::string kMeshNode = R"(<node name="M"><instance_geometry url="#g"/></node>)";

std::shared_ptr<MemoryMeshGeometry> meshOf(const MemoryNode& node) {
    return std::dynamic_pointer_cast<MemoryMeshGeometry>(node.nodeGeometry());
}

/// "name:triangles" for every mesh-carrying node and "name:-" for every other leaf below the
/// root, depth first ("?" for an unnamed node).
std::vector<std::string> meshSummary(const MemoryNode& root) {
    std::vector<std::string> out;
    std::function<void(const MemoryNode&)> walk = [&](const MemoryNode& n) {
        if (const auto mesh = meshOf(n))
            out.push_back(n.nodeName.value_or("?") + ":" + std::to_string(mesh->indices.size() / 3));
        else if (n.children().empty() && &n != &root)
            out.push_back(n.nodeName.value_or("?") + ":-");
        for (const auto& child : n.children()) walk(*child);
    };
    walk(root);
    return out;
}

/// The line of the first occurrence of `marker` in `text`.
std::size_t lineOf(const std::string& text, const std::string& marker) {
    const std::size_t at = text.find(marker);
    EXPECT_NE(at, std::string::npos) << marker;
    return 1 + static_cast<std::size_t>(std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(at), '\n'));
}

struct Expected {
    std::string marker;   ///< text on the line the message names
    std::string message;  ///< part of the message
};

struct Case {
    const char* what;
    std::string document;
    std::vector<std::string> meshes;  ///< meshSummary when the file loads
    std::vector<Expected> warnings;   ///< in order
    std::optional<Expected> error;    ///< set when the file is refused
};

std::string nested(int depth) {
    std::string open, close;
    for (int i = 0; i < depth; ++i) open += "<node>", close += "</node>";
    return "<node name=\"top\">" + open + "\n" + close + "</node>";
}

/// The table: one row a feature of the format or a way a file fails.
std::vector<Case> featureCases() {
    const std::string triangles = primitive("triangles", "<p>0 1 2 0 2 3</p>", "2");
    const std::string broken = primitive("triangles", "<p>0 1 4</p>");  // one past the last position
    std::string doubling = "<library_nodes><node id=\"n0\"/>";
    for (int i = 1; i <= 20; ++i)
        doubling += "<node id=\"n" + std::to_string(i) + "\"><instance_node url=\"#n" + std::to_string(i - 1) +
                    "\"/><instance_node url=\"#n" + std::to_string(i - 1) + "\"/></node>";
    doubling += "</library_nodes>";

    // Texture coordinates take two components and make do with one: a source of three whose
    // last third component is missing, or of one, is read without a warning, per vertex or per corner.
    const auto texcoords = [&](bool perVertex, bool single) {
        const std::string source =
            single
                ? R"(<source id="t"><float_array id="t-a" count="4">0 1 1 0</float_array><technique_common><accessor source="#t-a" count="4" stride="1"><param name="S" type="float"/></accessor></technique_common></source>
)"
                : R"(<source id="t"><float_array id="t-a" count="11">0 0 9 1 0 9 1 1 9 0 1</float_array><technique_common><accessor source="#t-a" count="4" stride="3"><param name="S" type="float"/><param name="T" type="float"/><param name="P" type="float"/></accessor></technique_common></source>
)";
        std::string d = document(
            geometry(source +
                     (perVertex ? triangles
                                : primitive("triangles",
                                            R"(<input semantic="TEXCOORD" source="#t" offset="0"/><p>0 1 2 0 2 3</p>)",
                                            "2"))),
            kMeshNode);
        if (perVertex) d.replace(d.find("</vertices>"), 0, R"(<input semantic="TEXCOORD" source="#t"/>)");
        return Case{
            perVertex ? (single ? "one texture coordinate per vertex" : "three texture coordinates per vertex, short")
                      : (single ? "one texture coordinate per corner" : "three texture coordinates per corner, short"),
            d,
            {"M:2"},
            {},
            {}};
    };
    // The square shown through a skin with the bind-shape matrix `numbers`.
    const auto skinned = [&](const std::string& numbers) {
        return document(geometry(triangles) +
                            "\n<library_controllers><controller id=\"skin\"><skin source=\"#g\"><bind_shape_matrix>" +
                            numbers + "</bind_shape_matrix></skin></controller></library_controllers>",
                        R"(<node name="S"><instance_controller url="#skin"/></node>)");
    };
    return {
        // Features.
        texcoords(true, true),
        texcoords(true, false),
        texcoords(false, true),
        texcoords(false, false),
        {"the visual scene the <scene> names, not the first",
         document(
             R"(<library_visual_scenes><visual_scene id="other"><node name="O"/></visual_scene></library_visual_scenes>)" +
                 geometry(triangles),
             kMeshNode),
         {"M:2"},
         {},
         {}},
        {"an input without an offset reads at 0",
         document(
             geometry(R"(<triangles count="2"><input semantic="VERTEX" source="#v"/><p>0 1 2 0 2 3</p></triangles>)"),
             kMeshNode),
         {"M:2"},
         {},
         {}},
        {"triangle strip", document(geometry(primitive("tristrips", "<p>0 1 3 2</p>")), kMeshNode), {"M:2"}, {}, {}},
        {"triangle fan", document(geometry(primitive("trifans", "<p>0 1 2 3</p>")), kMeshNode), {"M:2"}, {}, {}},
        {"concave outline",
         document(geometry(primitive("polylist", "<vcount>6</vcount><p>0 1 2 3 4 5</p>"),
                           "0 0 0 2 0 0 2 1 0 1 1 0 1 2 0 0 2 0"),
                  kMeshNode),
         {"M:4"},
         {},
         {}},
        {"outline with a hole",
         document(geometry(primitive("polygons", "<ph><p>0 1 2 3</p><h>4 5 6 7</h></ph><p>0 1 2</p>"),
                           "0 0 0 3 0 0 3 3 0 0 3 0 1 1 0 2 1 0 2 2 0 1 2 0"),
                  kMeshNode),
         {"M:9"},
         {},
         {}},
        {"normals padded to four numbers without params: the first three",
         document(
             geometry(
                 R"(<source id="n"><float_array id="n-a" count="4">0 0 1 0</float_array><technique_common><accessor source="#n-a" count="1" stride="4"/></technique_common></source>)" +
                 primitive("triangles",
                           R"(<input semantic="NORMAL" source="#n" offset="1"/><p>0 0 1 0 2 0 0 0 2 0 3 0</p>)", "2")),
             kMeshNode),
         {"M:2"},
         {},
         {}},
        {"a two-corner polygon beside a triangle",
         document(geometry(primitive("polylist", "<vcount>2 3</vcount><p>0 1 0 1 2</p>", "2")), kMeshNode),
         {"M:1"},
         {},
         {}},
        {"an empty <ph> beside a polygon",
         document(geometry(primitive("polygons", "<ph/><p>0 1 2</p>")), kMeshNode),
         {"M:1"},
         {},
         {}},
        {"the visual scene the <scene> names is missing",
         [&] {
             std::string d = document(geometry(triangles), kMeshNode);
             return d.replace(d.find("url=\"#vs\""), 9, "url=\"#nope\"");
         }(),
         {"M:2"},
         {{"#nope", "instance_visual_scene \"#nope\" names no visual scene of this file; the first one is shown"}},
         {}},
        {"an up axis of no known name",
         document(geometry(triangles), kMeshNode, "<up_axis>W_UP</up_axis>"),
         {"M:2"},
         {{"<asset>", "up axis \"W_UP\" is none of X_UP, Y_UP, Z_UP; taken as Y_UP"}},
         {}},
        {"2-D positions",
         document(geometry(triangles, "0 0 1 0 1 1 0 1",
                           R"(<param name="X" type="float"/><param name="Y" type="float"/>)", 2),
                  kMeshNode),
         {"M:2"},
         {},
         {}},
        {"homogeneous positions: the first three of four",
         document(
             geometry(
                 triangles, "0 0 0 1 1 0 0 1 1 1 0 1 0 1 0 1",
                 R"(<param name="X" type="float"/><param name="Y" type="float"/><param name="Z" type="float"/><param name="W" type="float"/>)",
                 4),
             kMeshNode),
         {"M:2"},
         {},
         {}},
        {"1-D positions",
         document(geometry(triangles, "0 1 1 0", R"(<param name="X" type="float"/>)", 1), kMeshNode),
         {"M:2"},
         {},
         {}},
        {"empty mesh",
         document(R"(<library_geometries><geometry id="g"><mesh>
<source id="pos"><float_array id="pos-a" count="0"></float_array><technique_common><accessor source="#pos-a" count="0" stride="0"/></technique_common></source>
<vertices id="v"><input semantic="POSITION" source="#pos"/></vertices>
<triangles count="0"><input semantic="VERTEX" source="#v" offset="0"/></triangles>
</mesh></geometry></library_geometries>)",
                  kMeshNode),
         {"M:0"},
         {},
         {}},
        {"skin in its bind pose",
         document(geometry(triangles) + R"(
<library_controllers><controller id="skin"><skin source="#g"><bind_shape_matrix>1 0 0 0 0 1 0 0 0 0 1 5 0 0 0 1</bind_shape_matrix></skin></controller></library_controllers>)",
                  R"(<node name="S"><instance_controller url="#skin"/></node>)"),
         {"S:2"},
         {},
         {}},
        {"skin of a morph",
         document(geometry(triangles) + R"(
<library_controllers><controller id="morph"><morph source="#g"/></controller>
<controller id="skin"><skin source="#morph"/></controller></library_controllers>)",
                  R"(<node name="S"><instance_controller url="#skin"/></node>)"),
         {"S:2"},
         {},
         {}},
        {"nesting as deep as tools go", document(geometry(triangles), nested(1000)), {"?:-"}, {}, {}},
        {"a bind shape of too few numbers",
         skinned("1 0 0"),
         {"S:2"},
         {{"<bind_shape_matrix>", "<bind_shape_matrix> left out: 16 numbers expected"}},
         {}},
        {"a bind shape with a word",
         skinned("1 0 0 0 0 1 0 0 0 0 1 x 0 0 0 1"),
         {"S:2"},
         {{"<bind_shape_matrix>", "<bind_shape_matrix> left out: \"x\" is not a finite 32-bit number"}},
         {}},
        {"a bind shape that throws points beyond 32-bit floats",
         skinned("3e38 0 0 3e38 0 1 0 0 0 0 1 0 0 0 0 1"),
         {"S:2"},
         {{"<controller", "<bind_shape_matrix> left out: it moves vertices beyond 32-bit floats"}},
         {}},
        {"a controller that is neither skin nor morph",
         document(geometry(triangles) + R"(
<library_controllers><controller id="c"><spline/></controller></library_controllers>)",
                  R"(<node name="S"><instance_controller url="#c"/></node>)"),
         {"S:-"},
         {{"<controller id=\"c\"", "controller \"c\" is neither a skin nor a morph; left out"}},
         {}},
        {"a hole before its outline",
         document(geometry(primitive("polygons", "<ph><h>0 1 2</h><p>0 1 2 3</p></ph>")), kMeshNode),
         {"M:0"},
         {{"<ph>", "<polygons> left out: a hole comes before its outline"}},
         {}},
        {"a word among polygon sizes",
         document(geometry(primitive("polylist", "<vcount>3 x</vcount><p>0 1 2</p>", "2")), kMeshNode),
         {"M:0"},
         {{"<vcount>", "<polylist> left out: <vcount>: \"x\" is not an index"}},
         {}},
        {"polygon sizes the count does not match",
         document(geometry(primitive("polylist", "<vcount>3 3</vcount><p>0 1 2 0 2 3</p>", "3")), kMeshNode),
         {"M:2"},
         {{"<vcount>", "<polylist> count=\"3\" but <vcount> lists 2 polygons; all of them read"}},
         {}},
        {"transforms that make no sense",
         document(geometry(triangles), R"(<node name="L"><lookat>1 1 1 1 1 1 0 1 0</lookat></node>
<node name="K"><skew>-90 0 1 0 1 0 0</skew></node>
<node name="Z"><skew>30 0 0 0 1 0 0</skew></node>)"),
         {"L:-", "K:-", "Z:-"},
         {{"<lookat",
           "<lookat> of node \"L\" left out: the eye, the point of interest and the up direction do not make a view"},
          {"<skew>-90", "<skew> of node \"K\" left out: a skew needs two axes and an angle below 90 degrees"},
          {"<skew>30", "<skew> of node \"Z\" left out: a skew needs two axes"}},
         {}},
        {"a unit of no length",
         document(geometry(triangles), kMeshNode, R"(<unit meter="-1"/>)"),
         {"M:2"},
         {{"<unit", "unit of \"-1\" metres is not a positive number; taken as 1"}},
         {}},
        {"a control byte among the positions",
         document(geometry(triangles, "0 0 0 1 0 0 1 1 0 0 1 \x01"), kMeshNode),
         {"M:0"},
         {{"<float_array", "<triangles> left out: <float_array> \"pos-a\": \"\\x01\" is not a finite 32-bit number"}},
         {}},
        {"several primitives, one left out",
         document(geometry(triangles + "\n\n" + broken + "\n" + triangles), kMeshNode),
         {"M:4"},
         {{"<p>0 1 4</p>", "<triangles> left out: position index 4 past the 4 positions"}},
         {}},
        // Parts left out, with a warning each.
        {"decimal comma",
         document(geometry(triangles, "0 0 0 1 0 0 1 1 0 0 0,5 0"), kMeshNode),
         {"M:0"},
         {{"<float_array", "<triangles> left out: <float_array> \"pos-a\": \"0,5\" is not a finite 32-bit number"}},
         {}},
        {"a word of 24 bytes quoted whole",
         document(geometry(triangles, "0 0 0 1 0 0 1 1 0 0 1 abcdefghijklmnopqrstuvwx"), kMeshNode),
         {"M:0"},
         {{"<float_array", "\"abcdefghijklmnopqrstuvwx\" is not a finite"}},
         {}},
        {"a longer word cut at 24 bytes",
         document(geometry(triangles, "0 0 0 1 0 0 1 1 0 0 1 abcdefghijklmnopqrstuvwxy"), kMeshNode),
         {"M:0"},
         {{"<float_array", "\"abcdefghijklmnopqrstuvwx...\" is not a finite"}},
         {}},
        {"a polygon with a word among its indices",
         document(geometry(primitive("polygons", "<p>0 1 x</p>")), kMeshNode),
         {"M:0"},
         {{"<polygons", "<polygons> left out: <p>: \"x\" is not an index"}},
         {}},
        {"vertices without positions",
         [&] {
             std::string d = document(geometry(triangles), kMeshNode);
             return d.replace(d.find("POSITION"), 8, "NORMAL");
         }(),
         {"M:0"},
         {{"<vertices", "<triangles> left out: <vertices> \"v\" has no POSITION input"}},
         {}},
        {"skins of skins nine deep",
         document(
             geometry(triangles) +
                 [] {
                     std::string chain =
                         "<library_controllers>\n<controller id=\"c0\"><skin source=\"#g\"/></controller>";
                     for (int i = 1; i <= 9; ++i)
                         chain += "<controller id=\"c" + std::to_string(i) + "\"><skin source=\"#c" +
                                  std::to_string(i - 1) + "\"/></controller>";
                     return chain + "</library_controllers>";
                 }(),
             R"(<node name="S"><instance_controller url="#c9"/></node>)"),
         {"S:-"},
         {{"<controller id=\"c0\"", "controllers chained more than 8 deep; left out"}},
         {}},
        {"two outlines in one <ph>",
         document(geometry(primitive("polygons", "<ph><p>0 1 2</p>\n<p>0 2 3</p></ph>")), kMeshNode),
         {"M:0"},
         {{"<p>0 2 3</p>", "<polygons> left out: a <ph> has more than one outline"}},
         {}},
        {"lines",
         document(geometry(primitive("lines", "<p>0 1</p>")), kMeshNode),
         {"M:0"},
         {{"<lines", "<lines> left out: lines are not surfaces"}},
         {}},
        {"geometry in another file",
         document(geometry(triangles), R"(<node name="M"><instance_geometry url="parts.dae#g"/></node>)"),
         {"M:-"},
         {{"parts.dae", "<instance_geometry> \"parts.dae#g\" refers to another file; left out"}},
         {}},
        {"an address without '#' is no id, even when its tail is one",
         document(geometry(triangles), R"(<node name="M"><instance_geometry url="_g"/></node>)"),
         {"M:-"},
         {{"url=\"_g\"", "<instance_geometry> \"_g\" names no <geometry> of this file"}},
         {}},
        {"dangling reference beside a mesh",
         document(geometry(triangles),
                  R"(<node name="M"><instance_geometry url="#g"/><instance_geometry url="#nothing"/></node>)"),
         {"M:2"},
         {{"#nothing", "names no <geometry> of this file"}},
         {}},
        {"an empty reference, with an empty id about",
         document(
             [&] {
                 std::string g = geometry(triangles);
                 return g.replace(g.find("id=\"g\""), 6, "id=\"\"");
             }(),
             R"(<node name="M"><instance_geometry url="#"/></node>)"),
         {"M:-"},
         {{"url=\"#\"", "names no <geometry> of this file"}},
         {}},
        {"a node that contains itself",
         document(geometry(triangles), R"(<node id="loop" name="L"><instance_node url="#loop"/></node>)"),
         {"L:-"},
         {{"<instance_node", "instance_node \"#loop\" instantiates a node that contains it; left out"}},
         {}},
        {"a convex hull of another mesh",
         document(
             R"(<library_geometries><geometry id="g"><convex_mesh convex_hull_of="#h"/></geometry></library_geometries>)",
             kMeshNode),
         {"M:-"},
         {{"<geometry", "geometry \"g\" is a <convex_mesh>, not a mesh; left out"}},
         {}},
        {"a spline",
         document(R"(<library_geometries><geometry id="g"><spline/></geometry></library_geometries>)", kMeshNode),
         {"M:-"},
         {{"<geometry", "geometry \"g\" is a <spline>, not a mesh; left out"}},
         {}},
        {"unreadable transforms of nodes named, with an id only and unnamed",
         document(geometry(triangles),
                  R"(<node name="T"><translate>1 2</translate></node><node id="U"><rotate>1</rotate></node>
<node><scale>1</scale></node>)"),
         {"T:-", "U:-", "?:-"},
         {{"<translate", "<translate> of node \"T\" left out: 3 numbers expected, 2 found"},
          {"<rotate", "<rotate> of node \"U\" left out: 4 numbers expected, 1 found"},
          {"<scale", "<scale> of an unnamed node left out: 3 numbers expected, 1 found"}},
         {}},
        {"a projective transform",
         document(geometry(triangles), R"(<node name="P"><matrix>1 0 0 0 0 1 0 0 0 0 1 0 0 0 1 1</matrix></node>)"),
         {"P:-"},
         {{"<node name=\"P\"", "the projective part of the transform of node \"P\" is left out"}},
         {}},
        {"a count the list does not hold",
         document(geometry(primitive("triangles", "<p>0 1 2</p>", "2")), kMeshNode),
         {"M:1"},
         {{"<triangles", "<triangles> count=\"2\" but <p> holds 1 triangles; 1 read"}},
         {}},
        {"normals from a source read as texture coordinates",
         document(
             geometry(
                 R"(<source id="n"><float_array id="n-a" count="8">0 1 0 1 0 1 0 1</float_array><technique_common><accessor source="#n-a" count="4" stride="2"/></technique_common></source>
)" + primitive("triangles",
               R"(<input semantic="TEXCOORD" source="#n" offset="0"/><input semantic="NORMAL" source="#n" offset="0"/><p>0 1 2</p>)")),
             kMeshNode),
         {"M:1"},
         {{"<accessor source=\"#n-a\"",
           "normals of <triangles> left out: the <accessor> of \"n\" has 2 components, 3 needed"}},
         {}},
        {"per-vertex normals from a source that is not there",
         [&] {
             std::string d = document(geometry(triangles), kMeshNode);
             return d.replace(d.find("</vertices>"), 0, R"(<input semantic="NORMAL" source="#gone"/>)");
         }(),
         {"M:2"},
         {{"<triangles", "normals of <triangles> left out: it names no source \"gone\""}},
         {}},
        {"normals from a source that is not there",
         document(
             geometry(primitive("triangles", R"(<input semantic="NORMAL" source="#gone" offset="0"/><p>0 1 2</p>)")),
             kMeshNode),
         {"M:1"},
         {{"source=\"#gone\"", "normals of <triangles> left out: it names no source \"gone\""}},
         {}},
        {"a strip with an index past the end",
         document(geometry(primitive("tristrips", "<p>0 1 2 7</p>")), kMeshNode),
         {"M:0"},
         {{"<p>0 1 2 7</p>", "<tristrips> left out: position index 7 past the 4 positions"}},
         {}},
        {"polygons that run past the index list",
         document(geometry(primitive("polylist", "<vcount>3 3</vcount><p>0 1 2 0 2</p>", "2")), kMeshNode),
         {"M:0"},
         {{"<vcount>3 3", "<polylist> left out: <vcount> lists more corners than <p> holds (5)"}},
         {}},
        // Refused files.
        {"not XML",
         "<COLLADA>\n<asset>\n</COLLADA>",
         {},
         {},
         Expected{"</COLLADA>", "not well-formed XML: Start-end tags mismatch"}},
        {"not COLLADA",
         "<?xml version=\"1.0\"?>\n<svg/>",
         {},
         {},
         Expected{"<svg", "not a COLLADA document: its root element is <svg>"}},
        {"no visual scene",
         "<COLLADA>\n<library_geometries/>\n</COLLADA>",
         {},
         {},
         Expected{"<COLLADA", "no visual scene to show"}},
        {"a transform beyond 32-bit floats",
         document(geometry(triangles),
                  "<node name=\"Big\">\n<matrix>3e38 0 0 0 3e38 1 0 0 0 0 1 0 0 0 0 1</matrix></node>"),
         {},
         {},
         Expected{"<node name=\"Big\"", "the transform of node \"Big\" does not fit in 32-bit floats"}},
        {"nested too deep",
         document(geometry(triangles), nested(1024)),
         {},
         {},
         Expected{"<node name=\"top\">", "nodes nested more than 1024 deep"}},
        {"too many nodes",
         document(geometry(triangles) + doubling,
                  "<node>\n<instance_node url=\"#n20\"/><instance_node url=\"#n20\"/></node>"),
         {},
         {},
         Expected{"n20", "more than 100000 nodes"}},
    };
}

/// One row of the table, as a case of its own named after what it shows.
class ColladaFeature : public ::testing::TestWithParam<Case> {};

TEST_P(ColladaFeature, LoadsAsTheRowSays) {
    const Case& c = GetParam();
    ModelReport report;
    const auto scene = loadColladaBytes(c.document, "/", &report);
    ASSERT_EQ(scene == nullptr, c.error.has_value()) << (report.error ? report.error->message : "no error");
    if (c.error) {
        ASSERT_TRUE(report.error.has_value());
        EXPECT_EQ(report.error->line, lineOf(c.document, c.error->marker));
        EXPECT_NE(report.error->message.find(c.error->message), std::string::npos) << report.error->message;
        return;
    }
    EXPECT_FALSE(report.error.has_value());
    EXPECT_EQ(meshSummary(*scene->root()), c.meshes);
    ASSERT_EQ(report.warnings.size(), c.warnings.size()) << (report.warnings.empty() ? "" : report.warnings[0].message);
    for (std::size_t i = 0; i < c.warnings.size(); ++i) {
        EXPECT_EQ(report.warnings[i].line, lineOf(c.document, c.warnings[i].marker)) << report.warnings[i].message;
        EXPECT_NE(report.warnings[i].message.find(c.warnings[i].message), std::string::npos)
            << report.warnings[i].message;
    }
}

TEST(ColladaLoaderFiles, AMissingFileIsRefusedAsAWhole) {
    ModelReport missing;
    EXPECT_EQ(loadColladaFile("/nonexistent/Model.dae", &missing), nullptr);
    ASSERT_TRUE(missing.error.has_value());
    EXPECT_EQ(missing.error->line, 0u);
    EXPECT_EQ(missing.error->message, "cannot open the file: No such file or directory");
}

INSTANTIATE_TEST_SUITE_P(Rows, ColladaFeature, ::testing::ValuesIn(featureCases()),
                         [](const ::testing::TestParamInfo<Case>& info) {
                             // "a transform beyond 32-bit floats" -> "ATransformBeyond32BitFloats"
                             std::string name;
                             bool upper = true;
                             for (const char ch : std::string(info.param.what)) {
                                 const bool alnum = std::isalnum(static_cast<unsigned char>(ch)) != 0;
                                 if (alnum)
                                     name +=
                                         upper ? static_cast<char>(std::toupper(static_cast<unsigned char>(ch))) : ch;
                                 upper = !alnum;
                             }
                             return name;
                         });

TEST(ColladaLoaderFiles, LimitsRefuseWhatGoesBeyondThem) {
    // Nodes: plain ones, or one fewer and a second mesh of a node, which takes a node of its own.
    const ModelLimits limits{.fileBytes = 1u << 20, .verticesPerMesh = 5, .nodes = 10};
    const std::string mesh = geometry(primitive("triangles", "<p>0 1 2</p>"));
    const std::string twoMeshes = R"(<node name="M"><instance_geometry url="#g"/><instance_geometry url="#g"/></node>)";
    for (const std::size_t count : {10u, 11u})
        for (const bool extraMesh : {false, true}) {
            std::string nodes = extraMesh ? twoMeshes : "";
            for (std::size_t i = extraMesh ? 2 : 0; i < count; ++i) nodes += "<node/>";
            ModelReport report;
            const auto scene = loadColladaBytes(document(mesh, nodes), "/", &report, limits);
            EXPECT_EQ(scene ? scene->root()->children().size() : 0u, count == 10u ? count - extraMesh : 0u)
                << count << extraMesh;
            EXPECT_EQ(report.error ? report.error->message : "", count == 10u ? "" : "more than 10 nodes");
        }
    // Reading stops at the node beyond the limit: nothing after it is looked at, or warned about.
    std::string crowded = "<node name=\"P\">";
    for (int i = 0; i < 10; ++i) crowded += "<node/>";
    ModelReport refused;
    EXPECT_EQ(
        loadColladaBytes(document(mesh, crowded + "<instance_node url=\"#missing\"/></node>"), "/", &refused, limits),
        nullptr);
    EXPECT_EQ(refused.error ? refused.error->message : "", "more than 10 nodes");
    EXPECT_TRUE(refused.warnings.empty()) << refused.warnings[0].message;
    // Warnings: the first hundred are listed, the rest counted.
    std::string unreadable;
    for (int i = 0; i < 102; ++i) unreadable += "<node><translate>1 2</translate></node>";
    ModelReport many;
    ASSERT_NE(loadColladaBytes(document("", unreadable), "/", &many), nullptr);
    EXPECT_EQ(many.warnings.size(), 100u);
    EXPECT_EQ(many.unlistedWarnings, 2u);
    // Vertices: a fan over four corners loads; over six it is left out, said so.
    struct Fan {
        const char *p, *count;
        std::size_t indices;
        const char* warning;
    };
    for (const Fan& fan :
         {Fan{"0 1 2 0 2 3", "2", 6, ""},
          Fan{"0 1 2 0 2 3 0 3 4 0 4 5", "4", 0, "<triangles> left out: the mesh has more than 5 vertices"}}) {
        ModelReport report;
        const auto scene =
            loadColladaBytes(document(geometry(primitive("triangles", std::string("<p>") + fan.p + "</p>", fan.count),
                                               "0 0 0 1 0 0 1 1 0 0 1 0 -1 1 0 -1 0 0"),
                                      kMeshNode),
                             "/", &report, {.verticesPerMesh = 5});
        ASSERT_NE(scene, nullptr);
        EXPECT_EQ(meshOf(*scene->root()->children().at(0))->indices.size(), fan.indices) << fan.p;
        EXPECT_EQ(report.warnings.empty() ? "" : report.warnings[0].message, fan.warning);
    }
    // Size: one byte more than the limit is refused unread, from memory or from a file.
    const std::string big(limits.fileBytes + 1, ' ');
    ModelReport report;
    EXPECT_EQ(loadColladaBytes(big, "/", &report, limits), nullptr);
    EXPECT_EQ(report.error->message, "the model is larger than 1 MB");
    const orrery::testing::TempDir dir;
    std::ofstream(dir.path / "big.dae") << big;
    EXPECT_EQ(loadColladaFile(dir.path / "big.dae", &report, limits), nullptr);
    EXPECT_EQ(report.error->message, "the file is larger than 1 MB");
}

SCNVector3 apply(const simd_float4x4& m, SCNVector3 p) {
    const auto& c = m.columns;
    return {c[0][0] * p.x + c[1][0] * p.y + c[2][0] * p.z + c[3][0],
            c[0][1] * p.x + c[1][1] * p.y + c[2][1] * p.z + c[3][1],
            c[0][2] * p.x + c[1][2] * p.y + c[2][2] * p.z + c[3][2]};
}

/// The world position of `local` in the first node named `name`: its mesh or contents node.
SCNVector3 placed(const MemoryScene& scene, const std::string& name, SCNVector3 local) {
    auto node = scene.root()->findNamed(name);
    EXPECT_NE(node, nullptr) << name;
    if (!node) return {};
    // A sheared node's contents hang under an unnamed inner node.
    if (!node->children().empty() && !node->children()[0]->nodeName) node = node->children()[0];
    return apply(node->worldTransform(), local);
}

TEST(ColladaLoaderFiles, TransformsAxesAndUnits) {
    struct Placement {
        const char* what;
        std::string asset, transform;
        SCNVector3 local, world;
    };
    const std::vector<Placement> placements{
        {"Z up", "<up_axis>Z_UP</up_axis>", "<translate>1 2 3</translate>", {0, 0, 1}, {1, 4, -2}},
        {"X up", "<up_axis>X_UP</up_axis>", "", {1, 2, 3}, {-2, 1, 3}},
        {"centimetres",
         R"(<unit name="centimeter" meter="0.01"/>)",
         "<translate>100 0 0</translate>",
         {0, 100, 0},
         {1, 1, 0}},
        {"look at", "", "<lookat>1 0 0  2 0 0  0 1 0</lookat>", {0, 0, -1}, {2, 0, 0}},
        // Side (-1, 0, 1) / sqrt 2, up (-1, 2, -1) / sqrt 6 and forward (1, 1, 1) / sqrt 3, all at once,
        // from an eye at (1, 2, 3).
        {"look at obliquely",
         "",
         "<lookat>1 2 3  2 3 4  0 1 0</lookat>",
         {1, 1, -1},
         {0.461995f, 3.393847f, 3.876209f}},
        {"skew", "", "<skew>45 0 1 0 1 0 0</skew>", {0, 2, 0}, {2, 2, 0}},
        {"skew after a turn", "", "<rotate>0 0 1 90</rotate><skew>45 0 1 0 1 0 0</skew>", {0, 2, 0}, {-2, 2, 0}},
        {"mirror", "", "<scale>-1 1 1</scale>", {1, 2, 3}, {-1, 2, 3}},
    };
    for (const auto& p : placements) {
        SCOPED_TRACE(p.what);
        const auto scene = loadColladaBytes(document("", "<node name=\"N\">" + p.transform + "</node>", p.asset), "/");
        ASSERT_NE(scene, nullptr);
        const SCNVector3 world = placed(*scene, "N", p.local);
        EXPECT_NEAR(world.x, p.world.x, 1e-5f);
        EXPECT_NEAR(world.y, p.world.y, 1e-5f);
        EXPECT_NEAR(world.z, p.world.z, 1e-5f);
    }
}

/// Sum of the triangles' areas seen from +z (negative for clockwise ones).
double signedArea(const MemoryMeshGeometry& mesh) {
    double area = 0;
    for (std::size_t t = 0; t < mesh.indices.size(); t += 3) {
        const auto& a = mesh.positions[mesh.indices[t]];
        const auto& b = mesh.positions[mesh.indices[t + 1]];
        const auto& c = mesh.positions[mesh.indices[t + 2]];
        area += 0.5 * ((b.x - a.x) * (c.y - a.y) - (c.x - a.x) * (b.y - a.y));
    }
    return area;
}

TEST(ColladaLoaderFiles, TrianglesCoverTheSurfaceOnceFacingTheSameWay) {
    // Every triangle counter-clockwise from +z, covering the described area exactly once.
    const std::vector<std::pair<std::string, double>> shapes{
        {geometry(primitive("tristrips", "<p>0 1 3 2</p>")), 1.0},
        {geometry(primitive("trifans", "<p>0 1 2 3</p>")), 1.0},
        {geometry(primitive("polylist", "<vcount>6</vcount><p>0 1 2 3 4 5</p>"), "0 0 0 2 0 0 2 1 0 1 1 0 1 2 0 0 2 0"),
         3.0},
        {geometry(primitive("polygons", "<ph><p>0 1 2 3</p><h>4 5 6 7</h></ph>"),
                  "0 0 0 3 0 0 3 3 0 0 3 0 1 1 0 2 1 0 2 2 0 1 2 0"),
         8.0},
        // An unnamed param is skipped: the 9s are never read.
        {geometry(primitive("triangles", "<p>0 1 2 0 2 3</p>", "2"), "0 9 0 0 1 9 0 0 1 9 1 0 0 9 1 0",
                  R"(<param name="X"/><param type="float"/><param name="Y"/><param name="Z"/>)", 4),
         1.0},
    };
    for (const auto& [library, area] : shapes) {
        const auto scene = loadColladaBytes(document(library, kMeshNode), "/");
        ASSERT_NE(scene, nullptr);
        const auto mesh = meshOf(*scene->root()->children().at(0));
        ASSERT_NE(mesh, nullptr);
        EXPECT_NEAR(signedArea(*mesh), area, 1e-6) << library;
        for (std::size_t t = 0; t < mesh->indices.size(); t += 3) {
            MemoryMeshGeometry one;
            one.positions = mesh->positions;
            one.indices = {mesh->indices[t], mesh->indices[t + 1], mesh->indices[t + 2]};
            EXPECT_GE(signedArea(one), 0.0) << "triangle " << t / 3;
        }
    }
    // The skin's bind-shape matrix moves its mesh.
    const auto skin = loadColladaBytes(document(geometry(primitive("triangles", "<p>0 1 2</p>")) + R"(
<library_controllers><controller id="skin"><skin source="#g"><bind_shape_matrix>2 0 0 0 0 2 0 0 0 0 2 5 0 0 0 1</bind_shape_matrix></skin></controller></library_controllers>)",
                                                R"(<node name="S"><instance_controller url="#skin"/></node>)"),
                                       "/");
    ASSERT_NE(skin, nullptr);
    EXPECT_EQ(meshOf(*skin->root()->children().at(0))->bounds, (SCNBoundingBox{{0, 0, 5}, {2, 2, 5}}));
}

TEST(ColladaLoaderFiles, CornersAreSharedOnlyWithinOneSetOfSources) {
    // Two primitives over the same positions, each with normals of its own, name the same
    // indices: the second one's corners take their normals from its own source. A third
    // primitive without normals gives its corners none (zero), beside the others' normals.
    const auto normals = [](const std::string& id, const std::string& values) {
        return "<source id=\"" + id + "\"><float_array id=\"" + id + "-a\" count=\"6\">" + values +
               "</float_array><technique_common><accessor source=\"#" + id +
               "-a\" count=\"2\" stride=\"3\">"
               "<param name=\"X\"/><param name=\"Y\"/><param name=\"Z\"/></accessor></technique_common></source>";
    };
    const auto triangle = [](const std::string& source) {
        return "<triangles count=\"1\"><input semantic=\"VERTEX\" source=\"#v\" offset=\"0\"/><input "
               "semantic=\"NORMAL\" "
               "source=\"#" +
               source + "\" offset=\"1\"/><p>0 0 1 1 0 1</p></triangles>";
    };
    const auto scene =
        loadColladaBytes(document(geometry(normals("a", "0 0 1 1 0 0") + normals("b", "0 1 0 0 0 -1") + triangle("a") +
                                           triangle("b") + primitive("triangles", "<p>0 1 2</p>")),
                                  kMeshNode),
                         "/");
    ASSERT_NE(scene, nullptr);
    const auto mesh = meshOf(*scene->root()->children().at(0));
    ASSERT_NE(mesh, nullptr);
    ASSERT_EQ(mesh->indices.size(), 9u);
    const std::vector<SCNVector3> expected{{0, 0, 1},  {1, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, -1},
                                           {0, 0, -1}, {},        {},        {}};
    for (std::size_t i = 0; i < expected.size(); ++i)
        EXPECT_EQ(mesh->normals.at(mesh->indices[i]), expected[i]) << "corner " << i;
}

}  // namespace
}  // namespace orrery::memory

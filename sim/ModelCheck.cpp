#include "sim/ModelCheck.h"

#include "app/ViewController.h"
#include "content/BodyCatalog.h"
#include "platform/memory/MemoryPlatform.h"

#include <cstdio>
#include <functional>
#include <sstream>
#include <variant>

namespace orrery::sim {

namespace {

constexpr int kRefusedStatus = 2;

// Built by appends: GCC 12 at -O3 warns falsely (-Wrestrict) about chains of string additions.
std::string location(const std::filesystem::path& file, std::size_t line) {
    std::string out = "orrery-sim: ";
    out += file.string();
    if (line) out.append(":").append(std::to_string(line));
    return out.append(": ");
}

std::string number(float value) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%g", static_cast<double>(value));
    return buf;
}

std::string vector(const SCNVector3& v) {
    std::string out = "(";
    out.append(number(v.x)).append(", ").append(number(v.y)).append(", ").append(number(v.z));
    return out.append(")");
}

/// Why a node's name would be mistaken for one of the app's own nodes, or empty.
std::string reservedNameReason(const std::string& name, const std::string& labelName) {
    if (name == labelName) return "the info label's name";
    if (BodyCatalog::isBodyName(name)) return "a body's name: gestures on the model would act on this node";
    if (BodyCatalog::isButtonName(name)) return "a button's name: touches on the model would press that button";
    return {};
}

void forEachNode(const memory::MemoryNode& node, int depth,
                 const std::function<void(const memory::MemoryNode&, int)>& f) {
    f(node, depth);
    for (const auto& child : node.children()) forEachNode(*child, depth + 1, f);
}

void writeTree(std::ostream& out, const memory::MemoryScene& scene, const memory::ModelReport& report) {
    forEachNode(*scene.root(), 0, [&](const memory::MemoryNode& node, int depth) {
        if (depth == 0) {
            out << "  root (named by the app)\n";
            return;
        }
        const std::string indent(2 * depth + 2, ' ');
        out << indent << "node " << (node.nodeName ? "\"" + *node.nodeName + "\"" : std::string("(unnamed)"));
        if (const auto line = report.nodeLines.find(&node); line != report.nodeLines.end())
            out << " line " << line->second;
        out << ": position " << vector(node.nodePosition()) << ", rotation "
            << vector({node.nodeRotation().x, node.nodeRotation().y, node.nodeRotation().z}) << " "
            << number(node.nodeRotation().w) << " rad, scale " << vector(node.nodeScale()) << "\n";
        const auto* mesh = dynamic_cast<const memory::MemoryMeshGeometry*>(node.nodeGeometry().get());
        if (!mesh) return;
        out << indent << "  mesh: " << mesh->indices.size() / 3 << " triangles, " << mesh->positions.size()
            << " vertices" << (mesh->normals.empty() ? "" : ", normals")
            << (mesh->textureCoordinates.empty() ? "" : ", texture coordinates") << "\n";
        for (const auto& material : mesh->materials) {
            out << indent << "  material \"" << material->name.value_or("") << "\": ";
            const auto& contents = material->diffuseProperty->contents;
            if (const auto* image = std::get_if<std::string>(&contents))
                out << "texture " << *image << (std::filesystem::exists(*image) ? "" : " (missing)");
            else if (const auto* colour = std::get_if<UIColor>(&contents))
                out << "colour " << colour->red << " " << colour->green << " " << colour->blue << " " << colour->alpha;
            else
                out << "no diffuse contents";
            out << "\n";
        }
    });
}

}  // namespace

std::size_t writeModelDiagnostics(std::ostream& out, const std::filesystem::path& file,
                                  const memory::ModelReport& report, const memory::MemoryScene* scene,
                                  const std::string& labelName) {
    std::size_t warnings = report.warnings.size() + report.unlistedWarnings;
    if (report.error) out << location(file, report.error->line) << report.error->message << '\n';
    for (const auto& warning : report.warnings)
        out << location(file, warning.line) << "warning: " << warning.message << '\n';
    if (report.unlistedWarnings)
        out << location(file, 0) << "warning: " << report.unlistedWarnings << " more warnings not listed\n";
    if (scene) {
        forEachNode(*scene->root(), 0, [&](const memory::MemoryNode& node, int depth) {
            if (depth == 0 || !node.nodeName) return;
            const std::string reason = reservedNameReason(*node.nodeName, labelName);
            if (reason.empty()) return;
            const auto line = report.nodeLines.find(&node);
            out << location(file, line == report.nodeLines.end() ? 0 : line->second) << "warning: node \""
                << *node.nodeName << "\" has " << reason << '\n';
            ++warnings;
        });
    }
    out << std::flush;
    return warnings;
}

int checkModels(const std::vector<std::string>& files, std::ostream& out, std::ostream& err) {
    memory::MemoryPlatform platform;
    const auto controller = ViewController::make(platform);  // only for the label's name
    int status = 0;
    for (const auto& file : files) {
        memory::ModelReport report;
        const auto scene = memory::loadColladaFile(file, &report);
        std::ostringstream diagnostics;
        const std::size_t warnings =
            writeModelDiagnostics(diagnostics, file, report, scene.get(), controller->nodeTextName);
        out << file << ": " << (!scene ? "refused" : warnings ? "loads with warnings" : "loads") << "\n";
        if (scene) writeTree(out, *scene, report);
        out << std::flush;
        err << diagnostics.str() << std::flush;
        if (!scene) status = kRefusedStatus;
    }
    return status;
}

}  // namespace orrery::sim

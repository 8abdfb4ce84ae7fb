#include "platform/memory/MemoryPlatform.h"

#include "platform/memory/collada/ColladaLoader.h"
#include "platform/memory/PlatformJson.h"
#include <cctype>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace orrery::memory {

namespace {

using Json = nlohmann::json;

bool hexDigit(char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; }

bool uriCharacter(char c) {
    if (std::isalnum(static_cast<unsigned char>(c)) && static_cast<unsigned char>(c) < 0x80) return true;
    return std::string_view("-._~:/?#[]@!$&'()*+,;=").find(c) != std::string_view::npos;
}

/// Gives the mesh geometry of every node of the tree, and its materials, the log.
void adoptLogInGeometry(const MemoryNode& node, const std::shared_ptr<CallLog>& log) {
    if (auto* mesh = dynamic_cast<MemoryMeshGeometry*>(node.nodeGeometry().get())) mesh->adoptLog(log);
    for (const auto& child : node.children()) adoptLogInGeometry(*child, log);
}

}  // namespace

MemoryPlatform::MemoryPlatform(std::filesystem::path assetParent) : assetParent(std::move(assetParent)) {
    application.enqueueOnMain = [this](std::function<void()> block) { mainQueue.push_back(std::move(block)); };
}

std::filesystem::path MemoryPlatform::defaultAssetParent() {
    if (const char* fromEnvironment = std::getenv("ORRERY_ASSET_PARENT"); fromEnvironment && *fromEnvironment)
        return fromEnvironment;
    return ORRERY_SOURCE_DIR;
}

std::shared_ptr<SCNScene> MemoryPlatform::newScene() {
    log->record("SCNScene", std::nullopt);
    return std::make_shared<MemoryScene>(log);
}

std::shared_ptr<SCNScene> MemoryPlatform::sceneNamed(const std::string& path) {
    log->record("sceneNamed:", std::nullopt, Json::array({path}));
    std::shared_ptr<MemoryScene> scene;
    if (auto prepared = preparedScenes.find(path); prepared != preparedScenes.end())
        scene = prepared->second ? prepared->second() : nullptr;
    else {
        ModelReport report;
        scene = loadColladaFile(assetParent / path, modelReportObserver ? &report : nullptr);
        if (modelReportObserver) modelReportObserver(assetParent / path, report, scene.get());
        // A model read from a file records calls on its meshes and materials too.
        if (scene) adoptLogInGeometry(*scene->root(), log);
    }
    if (scene) scene->adoptLog(log);
    return scene;
}

std::shared_ptr<SCNNode> MemoryPlatform::nodeWithGeometry(const std::shared_ptr<SCNGeometry>& geometry) {
    const char* kind = dynamic_cast<const SCNText*>(geometry.get()) ? "SCNText" : "SCNGeometry";
    log->record("nodeWithGeometry:", std::nullopt, Json::array({geometry ? Json(kind) : Json(nullptr)}));
    auto node = MemoryNode::make(log);
    node->assignGeometry(geometry);
    return node;
}

std::shared_ptr<SCNText> MemoryPlatform::textWithStringExtrusionDepth(const std::string& string,
                                                                      double extrusionDepth) {
    log->record("textWithString:extrusionDepth:", std::nullopt, Json::array({string, extrusionDepth}));
    return std::make_shared<MemoryTextGeometry>(log, string, extrusionDepth);
}

std::optional<UIFont> MemoryPlatform::fontWithNameSize(const std::string& name, double size) {
    log->record("fontWithName:size:", std::nullopt, Json::array({name, size}));
    if (!availableFonts.contains(name)) return std::nullopt;
    return UIFont{name, size};
}

namespace {

template <class Recognizer>
std::shared_ptr<Recognizer> makeRecognizer(const std::shared_ptr<CallLog>& log, const char* type,
                                           UIViewController* target, Selector action) {
    log->record("initWithTarget:action:", std::nullopt,
                Json::array({target ? Json("UIViewController") : Json(nullptr), action.name}));
    RecognizerRecord record;
    record.type = type;
    record.target = target;
    record.action = std::move(action);
    return std::make_shared<Recognizer>(log, std::move(record));
}

}  // namespace

std::shared_ptr<UIPinchGestureRecognizer> MemoryPlatform::newPinchGestureRecognizer(UIViewController* target,
                                                                                    Selector action) {
    return makeRecognizer<MemoryPinchRecognizer>(log, "UIPinchGestureRecognizer", target, std::move(action));
}

std::shared_ptr<UIRotationGestureRecognizer> MemoryPlatform::newRotationGestureRecognizer(UIViewController* target,
                                                                                          Selector action) {
    return makeRecognizer<MemoryRotationRecognizer>(log, "UIRotationGestureRecognizer", target, std::move(action));
}

std::shared_ptr<UIPanGestureRecognizer> MemoryPlatform::newPanGestureRecognizer(UIViewController* target,
                                                                                Selector action) {
    return makeRecognizer<MemoryPanRecognizer>(log, "UIPanGestureRecognizer", target, std::move(action));
}

std::shared_ptr<UILongPressGestureRecognizer> MemoryPlatform::newLongPressGestureRecognizer(UIViewController* target,
                                                                                            Selector action) {
    return makeRecognizer<MemoryLongPressRecognizer>(log, "UILongPressGestureRecognizer", target, std::move(action));
}

std::shared_ptr<UITapGestureRecognizer> MemoryPlatform::newTapGestureRecognizer(UIViewController* target,
                                                                                Selector action) {
    return makeRecognizer<MemoryTapRecognizer>(log, "UITapGestureRecognizer", target, std::move(action));
}

UIApplication& MemoryPlatform::sharedApplication() {
    log->record("sharedApplication", std::nullopt);
    return application;
}

std::optional<NSURL> MemoryPlatform::URLWithString(const std::string& text) {
    log->record("URL", std::nullopt, Json::array({text}));
    if (text.empty()) return std::nullopt;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%') {
            if (i + 2 >= text.size() || !hexDigit(text[i + 1]) || !hexDigit(text[i + 2])) return std::nullopt;
            i += 2;
        } else if (!uriCharacter(text[i])) {
            return std::nullopt;
        }
    }
    return NSURL{text};
}

int MemoryPlatform::UIApplicationMain(int argc, char**, const std::optional<std::string>& principalClassName,
                                      const std::optional<std::string>& delegateClassName) {
    // There is no event loop here: the owner drives frames and events itself.
    log->record("UIApplicationMain", std::nullopt,
                Json::array({argc, principalClassName ? Json(*principalClassName) : Json(nullptr),
                             delegateClassName ? Json(*delegateClassName) : Json(nullptr)}));
    return 0;
}

void MemoryPlatform::mainQueueAsync(std::function<void()> block) {
    log->record("async", std::nullopt);
    if (block) mainQueue.push_back(std::move(block));
}

void MemoryPlatform::drainMainQueue() {
    while (!mainQueue.empty()) {
        auto block = std::move(mainQueue.front());
        mainQueue.pop_front();
        block();
    }
}

void MemoryPlatform::runFrame(double seconds) {
    if (!(seconds >= 0)) seconds = 0;
    auto& session = view->arSession;
    if (session.state == SessionState::running) {
        auto frame = std::make_shared<ARFrame>();
        frame->timestamp = time;
        frame->camera.transform = view->camera.transform();
        frame->camera.eulerAngles = {view->camera.pitch, view->camera.yaw, 0.0f};
        session.latestFrame = std::move(frame);
        view->reportPendingAnchors();
        view->followTrackedAnchors();
    }
    drainMainQueue();
    if (view->currentScene) view->currentScene->root()->advanceTree(seconds);
    time += seconds;
}

void MemoryPlatform::advance(double seconds) {
    if (!(seconds > 0)) return;
    const double whole = std::floor(seconds * 60.0 + 1e-9);
    for (double i = 0; i < whole; ++i) runFrame(1.0 / 60.0);
    if (const double rest = seconds - whole / 60.0; rest > 1e-9) runFrame(rest);
}

}  // namespace orrery::memory

namespace orrery::memory {

void MemoryPlatform::hostViewController(UIViewController& controller) {
    controller.platformLifecycle = [log = log](const char* operation, std::optional<bool> animated) {
        log->record(operation, std::nullopt, animated ? Json::array({*animated}) : Json::array());
    };
}

}  // namespace orrery::memory

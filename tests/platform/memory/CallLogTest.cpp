#include "platform/memory/MemoryPlatform.h"
#include "tests/platform/memory/MemoryTestSupport.h"

#include <gtest/gtest.h>

using namespace orrery;
using namespace orrery::memory;
using Json = nlohmann::json;

namespace {

double f(float value) { return static_cast<double>(value); }

/// "receiver op arguments" for each call, "-" for a receiver without a name.
std::vector<std::string> summary(const std::vector<PlatformCall>& calls) {
    std::vector<std::string> out;
    for (const auto& call : calls) out.push_back(call.target.value_or("-") + " " + call.op + " " + call.args.dump());
    return out;
}

}  // namespace

TEST(MemoryCallLog, RecordsEveryReadOfANode) {
    MemoryPlatform platform;
    const auto earth = MemoryNode::make(platform.log);
    earth->nodeName = "Earth";  // named without a call
    (void)earth->name(), (void)earth->position(), (void)earth->scale(), (void)earth->rotation();
    (void)earth->parentNode(), (void)earth->childNodes(), (void)earth->geometry();
    std::vector<std::string> reads;
    for (const auto& call : platform.log->takeNew()) reads.push_back(call.target.value_or("-") + " " + call.op);
    EXPECT_EQ(reads, (std::vector<std::string>{"Earth name", "Earth position", "Earth scale", "Earth rotation",
                                               "Earth parentNode", "Earth childNodes", "Earth geometry"}));
}

TEST(MemoryCallLog, RecordsOperationsWithTargetsAndArguments) {
    MemoryPlatform platform;
    auto scene = platform.newScene();
    auto root = scene->rootNode();
    auto earth = MemoryNode::make(platform.log);
    earth->setName("Earth");
    earth->setScale({0.1f, 0.1f, 0.1f});
    earth->setRotation({1, 0, 0, 0.7853981f});
    root->addChildNode(earth);
    earth->runActionForKey(SCNAction::repeatActionForever(SCNAction::rotateByXYZDuration(0, 0.5, 0, 1)),
                           "EarthAnimation");
    platform.view->hitTestOptions({10, 20.5}, {{SCNHitTestBoundingBoxOnlyKey, true}});
    platform.sharedApplication().openURLOptionsCompletionHandler({"https://example.org/guide"}, {}, nullptr);

    // Receivers by name once they have one; floats as the doubles they are.
    const std::string tenth = Json(f(0.1f)).dump();
    EXPECT_EQ(
        summary(platform.log->takeNew()),
        (std::vector<std::string>{
            "- SCNScene []", "- rootNode []", R"(- setName: ["Earth"])",
            "Earth setScale: [[" + tenth + "," + tenth + "," + tenth + "]]",
            "Earth setRotation: [[1.0,0.0,0.0," + Json(f(0.7853981f)).dump() + "]]", R"(- addChildNode: ["Earth"])",
            R"(Earth runAction:forKey: [{"action":{"duration":1.0,"type":"rotateBy","x":0.0,"y":0.5,"z":0.0},)"
            R"("type":"repeatForever"},"EarthAnimation"])",
            R"(- hitTest:options: [[10.0,20.5],{"SCNHitTestBoundingBoxOnlyKey":true}])", "- sharedApplication []",
            R"(- openURL:options:completionHandler: ["https://example.org/guide",{},false])"}));

    EXPECT_EQ(platform.log->withOp("setScale:").size(), 1u);
    EXPECT_EQ(platform.log->withOp("setScale:")[0].target, "Earth");

    // What the simulator does by itself is not a platform call.
    platform.view->setScene(scene);
    platform.log->takeNew();
    platform.view->session().runWithConfigurationOptions({}, 0);
    platform.view->session().addAnchor(std::make_shared<ARAnchor>(makeTranslation({1, 2, 3})));
    platform.advance(0.5);
    platform.view->geometricHitTest({0, 0});
    const auto later = summary(platform.log->takeNew());
    ASSERT_EQ(later.size(), 4u);
    EXPECT_EQ(later[0], "- session []");
    EXPECT_EQ(later[1], R"(- runWithConfiguration:options: [{"planeDetection":0},0])");
    EXPECT_TRUE(later[3].starts_with("- addAnchor: [[1.0,0.0,0.0,0.0,0.0,1.0,0.0,")) << later[3];
    EXPECT_TRUE(later[3].ends_with(",1.0,2.0,3.0,1.0]]")) << later[3];
    platform.log->clear();
    EXPECT_TRUE(platform.log->calls().empty());
    platform.newScene();
    EXPECT_EQ(platform.log->takeNew().size(), 1u);
}

TEST(MemoryServices, TextGeometryKeepsItsSettings) {
    MemoryPlatform platform;
    auto text = platform.textWithStringExtrusionDepth("Mars\nFourth planet", 0.2);
    text->setFont(platform.fontWithNameSize("Optima", 1.0));
    auto material = text->firstMaterial();
    material->diffuse()->setContents(UIColor::orangeColor());
    material->specular()->setContents(UIColor::orangeColor());
    auto node = asMemory(platform.nodeWithGeometry(text));

    auto* memoryText = dynamic_cast<MemoryTextGeometry*>(node->nodeGeometry().get());
    ASSERT_NE(memoryText, nullptr);
    EXPECT_EQ(memoryText->string, "Mars\nFourth planet");
    EXPECT_EQ(memoryText->extrusionDepth, 0.2);
    EXPECT_EQ(memoryText->font, (UIFont{"Optima", 1.0}));
    EXPECT_EQ(memoryText->material->diffuseProperty->contents, MaterialContents(UIColor::orangeColor()));
    EXPECT_EQ(memoryText->material->specularProperty->contents, MaterialContents(UIColor::orangeColor()));
    EXPECT_EQ(text->boundingBox().max.z, 0.1f);  // the extrusion is centred on z = 0
    EXPECT_EQ(text->boundingBox().min.z, -0.1f);
    EXPECT_GT(text->boundingBox().max.x, text->boundingBox().min.x);
    EXPECT_FALSE(node->nodeName.has_value());

    EXPECT_EQ(platform.fontWithNameSize("NoSuchFont", 1.0), std::nullopt);
    const auto ops = platform.log->calls();
    EXPECT_EQ(ops[1].args, Json::parse(R"(["Optima",1.0])"));
    EXPECT_EQ(ops[2].args, Json::parse(R"([{"fontName":"Optima","pointSize":1.0}])"));
    EXPECT_EQ(ops[4].op, "diffuse");
    EXPECT_EQ(ops[5].op, "setContents:");
    EXPECT_EQ(ops[5].args, Json::parse(R"([{"red":1.0,"green":0.5,"blue":0.0,"alpha":1.0}])"));
}

TEST(MemoryServices, AddressesRecognisersBrowserAndScenes) {
    MemoryPlatform platform;
    EXPECT_EQ(platform.URLWithString("https://example.org/a_b-c~d?q=1&r=%2F#top"),
              NSURL{"https://example.org/a_b-c~d?q=1&r=%2F#top"});
    for (const char* bad :
         {"", "   ", "https://example.org/a b", "https://example.org/%2", "https://example.org/%zz",
          "https://example.org/%g1", "https://example.org/%1g", "https://example.org/<x>", "https://exämple.org"})
        EXPECT_EQ(platform.URLWithString(bad), std::nullopt) << bad;

    int pinched = 0;
    UIViewController controller;
    auto pinch =
        platform.newPinchGestureRecognizer(&controller, {"didPinch:", [&](UIGestureRecognizer&) { ++pinched; }});
    auto tap = platform.newTapGestureRecognizer(&controller, {"didDoubleTap:", nullptr});
    tap->setNumberOfTapsRequired(2);
    tap->setNumberOfTouchesRequired(1);
    platform.view->addGestureRecognizer(tap);
    platform.view->addGestureRecognizer(pinch);
    ASSERT_EQ(platform.view->gestureRecognizers.size(), 2u);
    EXPECT_EQ(platform.view->gestureRecognizers[0], tap);
    auto& tapRecord = dynamic_cast<MemoryRecognizerBase&>(*tap).record;
    EXPECT_EQ(tapRecord.type, "UITapGestureRecognizer");
    EXPECT_EQ(tapRecord.target, &controller);
    EXPECT_EQ(tapRecord.numberOfTapsRequired, 2u);
    EXPECT_EQ(tapRecord.numberOfTouchesRequired, 1u);
    dynamic_cast<MemoryRecognizerBase&>(*pinch).sendAction();
    EXPECT_EQ(pinched, 1);

    bool opened = false;
    platform.sharedApplication().openURLOptionsCompletionHandler({"https://example.org"}, {},
                                                                 [&](bool ok) { opened = ok; });
    EXPECT_EQ(platform.application.openedURLs.size(), 1u);
    EXPECT_FALSE(opened);  // the handler waits for the main queue
    platform.drainMainQueue();
    EXPECT_TRUE(opened);

    // Prepared scenes come first and their nodes record into the platform's log.
    platform.preparedScenes["art.scnassets/Test/Test.dae"] = [] {
        auto root = MemoryNode::make();
        root->nodeName = "Test";
        return std::make_shared<MemoryScene>(nullptr, root);
    };
    auto scene = platform.sceneNamed("art.scnassets/Test/Test.dae");
    ASSERT_NE(scene, nullptr);
    platform.log->takeNew();
    scene->rootNode()->setPosition({1, 2, 3});
    const auto calls = platform.log->takeNew();
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[1].target, "Test");
    EXPECT_EQ(platform.sceneNamed("art.scnassets/Missing/Missing.dae"), nullptr);

    EXPECT_EQ(platform.UIApplicationMain(0, nullptr, std::nullopt, "AppDelegate"), 0);
    EXPECT_EQ(platform.log->calls().back().args, Json::parse(R"([0,null,"AppDelegate"])"));
}

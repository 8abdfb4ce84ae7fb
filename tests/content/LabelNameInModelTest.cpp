// A model node named like the info label: the model keeps the name, and the app still shows
// exactly one label under the scene's root (the simulator warns about such names, see
// OrrerySimTest.NamesTheLineOfAModelItCannotLoadOrLoadsInPart).

#include "../app/ControllerFixture.h"

#include <gtest/gtest.h>

namespace orrery::scenario {
namespace {

class ModelNamedLikeTheLabel : public ControllerTest {
protected:
    void SetUp() override {
        ControllerTest::SetUp();
        // The Earth's mesh node carries the label's name, as a model from outside might.
        const auto box = unitBoxScene(platform.log);
        platform.preparedScenes["art.scnassets/Earth/Earth.dae"] = [box] {
            auto scene = box();
            scene->root()->children().at(0)->nodeName = "planetData";
            return scene;
        };
    }
};

TEST_F(ModelNamedLikeTheLabel, KeepsTheNameAndStillShowsOneLabelUnderTheRoot) {
    controller.viewDidLoad();
    for (const char* button : {"SolarSystemButton", "MarsButton", "EarthButton"}) {
        SCOPED_TRACE(button);
        controller.pressButton(button);
        // The label is the root's one child of that name; the model's node is inside the Earth.
        EXPECT_EQ(countInRoot(controller.nodeTextName), 1u);
        std::shared_ptr<MemoryNode> label;
        for (const auto& child : root()->children())
            if (child->nodeName == controller.nodeTextName) label = child;
        EXPECT_EQ(label, mem(controller.textNode));
        EXPECT_EQ(meshOf(controller.nodeEarthModel)->nodeName, controller.nodeTextName);
    }
}

}  // namespace
}  // namespace orrery::scenario

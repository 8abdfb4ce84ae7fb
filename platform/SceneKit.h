#pragma once
// Scene graph services: scenes, nodes, geometry, materials and actions.
//
// Objects are shared references (std::shared_ptr). A node removed from its
// parent stays valid and can be added again; the controller keeps model nodes
// alive through its handles whether or not they are in the scene.

#include "platform/Types.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orrery {

struct UIFont;

/// An RGBA colour; components in [0, 1].
struct UIColor {
    double red = 0, green = 0, blue = 0, alpha = 1;
    static UIColor orangeColor() { return {1.0, 0.5, 0.0, 1.0}; }
    friend bool operator==(const UIColor&, const UIColor&) = default;
};

/// A font found by name; obtained from Platform::fontWithNameSize.
struct UIFont {
    std::string fontName;
    double pointSize = 0;
    friend bool operator==(const UIFont&, const UIFont&) = default;
};

/// An action is plain data, built by the logic and interpreted by the platform.
/// Make actions with the class operations below; they are immutable once made.
struct SCNAction {
    enum class Type { rotateBy, scaleBy, moveBy, repeat, repeatForever };

    Type type = Type::rotateBy;
    double x = 0, y = 0, z = 0;               ///< rotateBy: Euler angles in radians
    double factor = 1;                        ///< scaleBy
    SCNVector3 delta;                         ///< moveBy
    double duration = 0;                      ///< seconds; rotateBy, scaleBy, moveBy
    unsigned long count = 0;                  ///< repeat
    std::shared_ptr<const SCNAction> action;  ///< repeat, repeatForever: the repeated action

    /// Turns the node by Euler angles relative to its orientation, spread evenly over `duration`.
    static std::shared_ptr<const SCNAction> rotateByXYZDuration(double x, double y, double z, double duration);
    /// Multiplies the node's scale on all three axes by `factor`.
    static std::shared_ptr<const SCNAction> scaleByDuration(double factor, double duration);
    /// Adds `delta` to the node's position.
    static std::shared_ptr<const SCNAction> moveByDuration(SCNVector3 delta, double duration);
    /// Runs `action` `count` times in sequence.
    static std::shared_ptr<const SCNAction> repeatActionCount(std::shared_ptr<const SCNAction> action,
                                                              unsigned long count);
    /// Runs `action` again each time it ends, until removed.
    static std::shared_ptr<const SCNAction> repeatActionForever(std::shared_ptr<const SCNAction> action);

    /// Total run time; infinity for repeatForever.
    double totalDuration() const;
};

/// One property of a material (diffuse, specular...).
class SCNMaterialProperty {
public:
    virtual ~SCNMaterialProperty() = default;
    /// `setContents:` with a colour.
    virtual void setContents(const UIColor& colour) = 0;
};

class SCNMaterial {
public:
    virtual ~SCNMaterial() = default;
    virtual std::shared_ptr<SCNMaterialProperty> diffuse() = 0;
    virtual std::shared_ptr<SCNMaterialProperty> specular() = 0;
};

/// Axis-aligned box in a node's or geometry's own space.
struct SCNBoundingBox {
    SCNVector3 min, max;
    friend bool operator==(const SCNBoundingBox&, const SCNBoundingBox&) = default;
};

/// Geometry attached to a node. Shared between a node and its clones.
class SCNGeometry {
public:
    virtual ~SCNGeometry() = default;
    /// `getBoundingBoxMin:max:` of the geometry, in its own space.
    virtual SCNBoundingBox boundingBox() const = 0;
    /// The first material, or null for a geometry without materials.
    virtual std::shared_ptr<SCNMaterial> firstMaterial() = 0;
};

/// Three-dimensional text geometry (`SCNText`).
class SCNText : public SCNGeometry {
public:
    /// `setFont:`; null leaves the platform's default text font.
    virtual void setFont(const std::optional<UIFont>& font) = 0;
};

/// A scene node: optional name, transform, parent, ordered children,
/// optional geometry and running actions under optional keys.
class SCNNode {
public:
    virtual ~SCNNode() = default;

    virtual std::optional<std::string> name() const = 0;
    virtual void setName(const std::optional<std::string>& name) = 0;

    virtual SCNVector3 position() const = 0;
    virtual void setPosition(SCNVector3 position) = 0;
    virtual SCNVector3 scale() const = 0;
    virtual void setScale(SCNVector3 scale) = 0;
    virtual SCNVector4 rotation() const = 0;
    virtual void setRotation(SCNVector4 rotation) = 0;

    /// The parent, or null for a root or detached node.
    virtual std::shared_ptr<SCNNode> parentNode() const = 0;
    virtual std::vector<std::shared_ptr<SCNNode>> childNodes() const = 0;
    /// Appends `child`; a child that has a parent is first taken out of it.
    virtual void addChildNode(const std::shared_ptr<SCNNode>& child) = 0;
    /// Detaches the node and its subtree; a detached node is left as it is.
    virtual void removeFromParentNode() = 0;
    /// A new parentless copy of the subtree sharing geometry and materials.
    virtual std::shared_ptr<SCNNode> clone() = 0;

    virtual std::shared_ptr<SCNGeometry> geometry() const = 0;

    /// Starts `action`; an action already running under the same key is removed first.
    virtual void runActionForKey(std::shared_ptr<const SCNAction> action, const std::optional<std::string>& key) = 0;
    /// Stops every running action, keeping the transform reached.
    virtual void removeAllActions() = 0;
};

/// A scene owns one root node.
class SCNScene {
public:
    virtual ~SCNScene() = default;
    virtual std::shared_ptr<SCNNode> rootNode() const = 0;
};

/// Keys of the scene hit-test option table.
inline constexpr const char* SCNHitTestBoundingBoxOnlyKey = "SCNHitTestBoundingBoxOnlyKey";

/// Scene hit-test options: option key to boxed Boolean.
using SCNHitTestOptions = std::map<std::string, bool>;

struct SCNHitTestResult {
    /// The geometry-carrying node whose bounds the ray met (often a nameless child mesh).
    std::shared_ptr<SCNNode> node;
};

}  // namespace orrery

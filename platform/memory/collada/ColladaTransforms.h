#pragma once
// Node transforms of COLLADA documents: the transform elements, the document's axis and unit
// conversion, and turning the result into the position, rotation and scale of scene nodes.

#include "platform/memory/geometry/Matrix3.h"
#include "platform/memory/scene/MemoryScene.h"

#include <pugixml.hpp>

#include <memory>
#include <optional>
#include <string>

namespace orrery::memory::collada {

/// Row-major 4x4 in doubles, as COLLADA writes matrices.
struct Matrix {
    double m[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};

    Matrix operator*(const Matrix& b) const;
    /// The turning and scaling part: the upper left 3x3.
    Matrix3d linear() const;
    /// The moving part: the last column's first three numbers.
    Vector3d translation() const;
    /// Exactly the identity: nothing to compose.
    bool isIdentity() const;
};

/// What one child element of a <node> does to its transform.
enum class TransformStep {
    none,        ///< not a transform element
    read,        ///< composed into the matrix
    unreadable,  ///< a transform element whose numbers cannot be used; `why` says why
};

/// Reads a <matrix>, <translate>, <rotate>, <scale>, <lookat> or <skew> element into `step`.
TransformStep readTransformElement(const pugi::xml_node& element, Matrix& step, std::string& why);

/// The document's conversion to Y up and metres, from <asset>'s <up_axis> and <unit>.
/// `warning` says what could not be read (and was taken as Y up in metres).
Matrix assetConversion(const pugi::xml_node& asset, std::string& warning);

/// How a transform was given to a node.
enum class Placement {
    exact,     ///< position, rotation and scale of the node
    sheared,   ///< shear or skew: the node got rotation and scale, `inner` the remaining rotation
    tooLarge,  ///< the transform does not fit in 32-bit floats; the node is unchanged
};

/// Sets `node`'s transform to `m` (its last row is taken as 0 0 0 1). A shear cannot be a
/// node's position, rotation and scale; it is split exactly into this node's rotation and
/// scale and the rotation of a new unnamed node, `inner`, that the node's contents hang under.
Placement placeNode(const Matrix& m, MemoryNode& node, std::shared_ptr<MemoryNode>& inner);

}  // namespace orrery::memory::collada

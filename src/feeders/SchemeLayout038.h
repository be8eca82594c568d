#pragma once
// Where the nodes of an LV feeder's drawing stand: a tidy tree laid out around the supply centre. No
// coordinates are stored with a scheme, so every drawing is laid out from the tree alone. Plain geometry
// without widgets, shared by the window, the printed page and the command line.
#include <QPointF>
#include <vector>

namespace feeders {

struct TRadialLayoutOptions {
    double MinDistance = 34;  // the least distance between two nodes, in drawing units
    double RingStep = 44;     // the least distance between two rings of nodes
};

// Positions of the nodes of a rooted tree given by parents (parent[0] is -1 for the root; every parent stands
// before its children). The root stands at the origin and the nodes of each depth on a ring around it, the
// nodes of a subtree side by side (a tidy tree: neighbouring subtrees as close as their outlines allow, the angle
// between neighbours shrinking with the depth so that the outer rings are used), each parent over its largest
// subtree, which stands among the others, so that a main line runs straight out and its branches fall to both
// sides. The rings stand far enough apart that no two nodes are closer than MinDistance. The largest subtree of
// the root points to the right.
std::vector<QPointF> RadialTreeLayout(const std::vector<int>& parent, const TRadialLayoutOptions& options = {});

}  // namespace feeders

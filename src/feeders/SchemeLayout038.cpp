#include "feeders/SchemeLayout038.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <limits>
#include <numbers>

namespace feeders {

namespace {
// The outline of a subtree: per level below its root, the leftmost and rightmost x, relative to the root.
struct Outline {
    std::vector<double> left, right;
};

// Neighbours on a ring of the given depth stand this far apart in x; the angle is x scaled, so a deeper ring,
// which is longer, takes neighbours at a smaller angle.
double separation(int depth) { return 1.0 / std::max(depth, 1); }

// The children of every node, the largest subtree first and then the others alternately to its sides, the side
// of the first one changing with the depth, so that the branches of a main line fall to both of its sides.
// Returns the lists in drawing order and, per node, the place of its largest child in its list.
std::vector<std::vector<int>> orderedChildren(const std::vector<int>& parent, const std::vector<int>& size,
                                              const std::vector<int>& depth, std::vector<int>& largestAt)
{
    const int n = static_cast<int>(parent.size());
    std::vector<std::vector<int>> children(n);
    largestAt.assign(n, 0);
    for (int i = 1; i < n; ++i)
        children[parent[i]].push_back(i);
    for (int v = 0; v < n; ++v) {
        std::vector<int>& list = children[v];
        if (list.size() < 2)
            continue;
        std::stable_sort(list.begin(), list.end(), [&](int a, int b) { return size[a] > size[b]; });
        std::deque<int> arranged{list.front()};
        int middle = 0;
        for (size_t k = 1; k < list.size(); ++k) {
            if ((k + depth[v]) % 2 == 1) {
                arranged.push_back(list[k]);
            } else {
                arranged.push_front(list[k]);
                ++middle;
            }
        }
        list.assign(arranged.begin(), arranged.end());
        largestAt[v] = middle;
    }
    return children;
}
}  // namespace

std::vector<QPointF> RadialTreeLayout(const std::vector<int>& parent, const TRadialLayoutOptions& options)
{
    const int n = static_cast<int>(parent.size());
    std::vector<QPointF> points(n);
    if (n < 2)
        return points;
    std::vector<int> depth(n, 0), size(n, 1);
    for (int i = 1; i < n; ++i)
        depth[i] = depth[parent[i]] + 1;
    for (int i = n - 1; i > 0; --i)
        size[parent[i]] += size[i];
    std::vector<int> largestAt;
    const std::vector<std::vector<int>> children = orderedChildren(parent, size, depth, largestAt);

    // Bottom-up (children stand after their parents): each subtree's outline, its children placed left to right
    // as close as the outlines allow, the parent over its largest child: a main line runs straight.
    std::vector<Outline> outline(n);
    std::vector<double> offset(n, 0.0);  // x of a node relative to its parent
    for (int v = n - 1; v >= 0; --v) {
        const std::vector<int>& list = children[v];
        if (list.empty()) {
            outline[v] = {{0.0}, {0.0}};
            continue;
        }
        Outline joined = std::move(outline[list.front()]);
        std::vector<double> at(list.size(), 0.0);
        for (size_t j = 1; j < list.size(); ++j) {
            Outline& next = outline[list[j]];
            const size_t common = std::min(joined.right.size(), next.left.size());
            double shift = -std::numeric_limits<double>::infinity();
            for (size_t k = 0; k < common; ++k)
                shift =
                    std::max(shift, joined.right[k] - next.left[k] + separation(depth[v] + 1 + static_cast<int>(k)));
            at[j] = shift;
            for (size_t k = 0; k < next.left.size(); ++k) {
                if (k < joined.right.size()) {
                    joined.right[k] = next.right[k] + shift;
                } else {
                    joined.left.push_back(next.left[k] + shift);
                    joined.right.push_back(next.right[k] + shift);
                }
            }
            next = {};
        }
        const double middle = at[largestAt[v]];
        for (size_t j = 0; j < list.size(); ++j)
            offset[list[j]] = at[j] - middle;
        for (size_t k = 0; k < joined.left.size(); ++k) {
            joined.left[k] -= middle;
            joined.right[k] -= middle;
        }
        joined.left.insert(joined.left.begin(), 0.0);
        joined.right.insert(joined.right.begin(), 0.0);
        outline[v] = std::move(joined);
    }
    std::vector<double> x(n, 0.0);
    for (int i = 1; i < n; ++i)
        x[i] = x[parent[i]] + offset[i];

    // x around the circle, with a gap of one separation behind the supply centre; the largest subtree to the
    // right.
    double low = std::numeric_limits<double>::infinity(), high = -low;
    for (int i = 1; i < n; ++i) {
        low = std::min(low, x[i]);
        high = std::max(high, x[i]);
    }
    const double gap = separation(1);
    const double span = high - low + gap;
    constexpr double kTurn = 2 * std::numbers::pi;
    std::vector<double> angle(n, 0.0);
    for (int i = 1; i < n; ++i)
        angle[i] = (x[i] - low + gap / 2) / span * kTurn;
    const std::vector<int>& top = children[0];
    const int largest = *std::max_element(top.begin(), top.end(), [&](int a, int b) { return size[a] < size[b]; });
    const double turn = angle[largest];
    for (int i = 1; i < n; ++i)
        angle[i] -= turn;

    // The rings: each at least a step beyond the previous one, and far enough out that its closest neighbours
    // are MinDistance apart (the chord between angles a and b on radius r is 2·r·sin(|a − b| / 2)).
    const int deepest = *std::max_element(depth.begin(), depth.end());
    std::vector<std::vector<double>> ring(deepest + 1);
    for (int i = 1; i < n; ++i)
        ring[depth[i]].push_back(angle[i]);
    std::vector<double> radius(deepest + 1, 0.0);
    const double step = std::max(options.RingStep, options.MinDistance);
    for (int d = 1; d <= deepest; ++d) {
        std::vector<double>& on = ring[d];
        std::sort(on.begin(), on.end());
        double closest = kTurn;
        for (size_t k = 1; k < on.size(); ++k)
            closest = std::min(closest, on[k] - on[k - 1]);
        if (on.size() > 1)
            closest = std::min(closest, kTurn - (on.back() - on.front()));
        double needed = 0;
        if (on.size() > 1)
            needed = options.MinDistance / (2 * std::sin(std::max(closest, 1e-9) / 2));
        radius[d] = std::max(radius[d - 1] + step, needed);
    }
    for (int i = 1; i < n; ++i)
        points[i] = QPointF(radius[depth[i]] * std::cos(angle[i]), radius[depth[i]] * std::sin(angle[i]));
    return points;
}

}  // namespace feeders

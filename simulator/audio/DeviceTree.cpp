#include "simulator/audio/DeviceTree.h"

#include <mutex>
#include <utility>

namespace sim::DeviceTree
{

namespace
{

/// Never destroyed: threads may still look at it while the process ends.
struct Tree
{
    std::mutex mutex;
    std::map<std::wstring, DeviceNode> nodes; // guarded by mutex
};

Tree& TheTree()
{
    static auto* const tree = new Tree();
    return *tree;
}

} // namespace

bool Add(DeviceNode node)
{
    Tree& tree = TheTree();
    const std::scoped_lock lock(tree.mutex);
    std::wstring id = node.instanceId;
    return tree.nodes.try_emplace(std::move(id), std::move(node)).second;
}

bool Remove(const std::wstring& instanceId)
{
    Tree& tree = TheTree();
    const std::scoped_lock lock(tree.mutex);
    return tree.nodes.erase(instanceId) > 0;
}

void Clear()
{
    Tree& tree = TheTree();
    const std::scoped_lock lock(tree.mutex);
    tree.nodes.clear();
}

std::vector<DeviceNode> NodesOf(const GUID& setupClass)
{
    Tree& tree = TheTree();
    const std::scoped_lock lock(tree.mutex);
    std::vector<DeviceNode> nodes;
    for (const auto& [id, node] : tree.nodes)
    {
        if (IsEqualGUID(node.setupClass, setupClass))
        {
            nodes.push_back(node);
        }
    }
    return nodes;
}

} // namespace sim::DeviceTree

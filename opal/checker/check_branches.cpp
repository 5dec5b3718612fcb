// Trees of branches.
//
//     t <= c |- false      t >= c+1 |- false
//     -------------------------------------- t has integer values only
//                    false
//
// A branch's constraint may be used below its branch only. Each leaf is checked once, and
// says which branch constraints it uses; a node uses what its branches use, but for its
// own two, each in its branch. The root must use none. So nodes that several paths share
// are checked once, although the constraints above them differ.
//
// Cost: sets are handed upwards, the smaller one into the larger one: n log n for a tree
// of n nodes. Only a node with several parents has its set copied.

#include <cassert>
#include <utility>

#include "opal/checker/checker_run.h"
#include "opal/interfaces/rule_cast.h"

namespace opal::host {

ProofChecker::Run::Tree ProofChecker::Run::nodes_of(const proof::Proof* root) {
  Tree tree;
  std::unordered_set<const proof::Proof*> open;
  std::vector<const proof::Proof*> stack{root};
  while (!stack.empty()) {
    const proof::Proof* const p = stack.back();
    assert(tree.order.size() <= tree.parents.size());
    if (p == nullptr) refuse("LaZInternalBBProof: a branch is missing");
    const auto* node = la::as<laz::LaZInternalBBProof>(p);
    const bool is_new = tree.parents.emplace(p, 0).second;
    if (is_new && node != nullptr) {
      constraints_.enter_branches(*node);
      open.insert(p);
      stack.push_back(node->right);
      stack.push_back(node->left);
      continue;
    }
    stack.pop_back();
    if (is_new || open.erase(p) != 0) tree.order.push_back(p);
  }
  // Each node is listed once, after what stands below it.
  assert(open.empty() && tree.order.size() == tree.parents.size());
  assert(tree.order.back() == root);
  for (const proof::Proof* p : tree.order)
    if (const auto* node = la::as<laz::LaZInternalBBProof>(p)) {
      ++tree.parents[node->left];
      ++tree.parents[node->right];
    }
  return tree;
}

void ProofChecker::Run::tree(const laz::LaZInternalBBProof& root) {
  Tree tree = nodes_of(&root);
  std::unordered_map<const proof::Proof*, BranchIds> used;
  const auto take = [&](const proof::Proof* child) {
    const auto it = used.find(child);
    assert(it != used.end() && tree.parents[child] > 0);
    if (--tree.parents[child] > 0) return it->second;
    BranchIds ids = std::move(it->second);
    used.erase(it);
    return ids;
  };
  for (const proof::Proof* p : tree.order) {
    const auto* node = la::as<laz::LaZInternalBBProof>(p);
    if (node == nullptr) {
      used.emplace(p, leaf(p));
      continue;
    }
    BranchIds left = take(node->left);
    left.erase(node->left_id);
    BranchIds right = take(node->right);
    right.erase(node->right_id);
    if (left.size() < right.size()) left.swap(right);
    assert(left.size() >= right.size());
    left.insert(right.begin(), right.end());
    used.emplace(p, std::move(left));
  }
  assert(used.size() == 1);  // every other node has handed its set to its parents
  const BranchIds& at_root = used.at(&root);
  if (!at_root.empty())
    refuse("LaZInternalBBProof: the constraint of branch ", *at_root.begin(),
           " is used outside of the branch");
}

}  // namespace opal::host

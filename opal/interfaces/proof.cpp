// Releasing a proof of any depth in constant stack.

#include "opal/interfaces/proof.h"

#include <cassert>

namespace opal::proof {

namespace {

// The deletion in progress on this thread: its list of waiting nodes, or null.
thread_local Proof** waiting = nullptr;

}  // namespace

void Proof::release(Proof* node) noexcept {
  if (node == nullptr) return;
  assert(node->references_ > 0);
  if (--node->references_ > 0) return;
  if (waiting != nullptr) {
    assert(node->next_dead_ == nullptr && node != *waiting);
    node->next_dead_ = *waiting;
    *waiting = node;
    return;
  }
  Proof* list = node;
  waiting = &list;
  while (list != nullptr) {
    Proof* dead = list;
    list = dead->next_dead_;
    assert(dead->references_ == 0 && list != dead);
    delete dead;
  }
  assert(waiting == &list);
  waiting = nullptr;
}

}  // namespace opal::proof

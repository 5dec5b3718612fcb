#ifndef OPAL_INTERFACES_PROOF_H
#define OPAL_INTERFACES_PROOF_H

// Nodes of proofs, and how they are counted.

#include <cassert>
#include <cstdint>
#include <utility>

namespace opal::proof {

/// A node of a refutation proof, shared and counted. A node is born with one reference,
/// its maker's; a parent holds one reference to each of its premises and gives it back in
/// its destructor. Counts are not atomic: a proof belongs to one thread at a time.
class Proof {
 public:
  Proof(const Proof&) = delete;
  Proof& operator=(const Proof&) = delete;
  virtual ~Proof() = default;

  /// Takes one more reference to `node`, which may be null, and returns it.
  template <typename Node>
  static Node* retain(Node* node) {
    if (node != nullptr) {
      assert(node->references() > 0);
      ++static_cast<Proof*>(node)->references_;
    }
    return node;
  }
  /// Gives one reference to `node` back (null is ignored); the last one deletes it. A
  /// proof of any depth is released in constant stack: nodes whose last reference goes
  /// while another node is being deleted wait in a list, linked through themselves.
  static void release(Proof* node) noexcept;

  [[nodiscard]] std::int32_t references() const { return references_; }

 protected:
  Proof() = default;

 private:
  std::int32_t references_ = 1;
  Proof* next_dead_ = nullptr;  // the list of nodes that wait for their deletion
};

/// Holds one reference to a proof and gives it back at its end.
template <typename Node>
class Counted {
 public:
  Counted() = default;
  /// Takes over the caller's reference.
  explicit Counted(Node* node) : node_(node) {
    assert(node == nullptr || node->references() > 0);
  }
  Counted(const Counted& other) : node_(Proof::retain(other.node_)) {}
  Counted(Counted&& other) noexcept : node_(std::exchange(other.node_, nullptr)) {}
  Counted& operator=(Counted other) noexcept {
    std::swap(node_, other.node_);
    return *this;
  }
  ~Counted() { Proof::release(node_); }

  [[nodiscard]] Node* get() const { return node_; }
  /// Hands the reference to the caller.
  [[nodiscard]] Node* take() { return std::exchange(node_, nullptr); }
  Node* operator->() const {
    assert(node_ != nullptr);
    return node_;
  }
  Node& operator*() const {
    assert(node_ != nullptr);
    return *node_;
  }
  explicit operator bool() const { return node_ != nullptr; }

 private:
  Node* node_ = nullptr;
};

using ProofRef = Counted<Proof>;

}  // namespace opal::proof

namespace opal::dpll::proof {

/// Base of the rules that the integer solver contributes.
class TheoryProof : public opal::proof::Proof {};

}  // namespace opal::dpll::proof

#endif

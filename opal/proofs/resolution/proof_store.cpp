#include "opal/proofs/resolution/proof_store.h"

#include <utility>

namespace opal::resolution {

namespace {

// A record's second number: its size (literals of a leaf, links of a chain) and its kind.
constexpr std::uint32_t packed(std::size_t size, NodeKind kind) {
  return static_cast<std::uint32_t>(size) * 4 + static_cast<std::uint32_t>(kind);
}

}  // namespace

// Reads numbers, byte by byte, from the store.
class ProofStore::Reader {
 public:
  Reader(const ProofStore& store, Offset offset) : store_(&store), offset_(offset) {}

  [[nodiscard]] Offset offset() const { return offset_; }
  std::uint8_t byte() {
    assert(offset_ < store_->end_);
    const std::uint8_t result =
        store_->blocks_[offset_ >> BLOCK_BITS][offset_ & (BLOCK_SIZE - 1)];
    offset_++;
    return result;
  }
  std::uint32_t number() {
    std::uint32_t result = 0;
    for (unsigned shift = 0;; shift += 7) {
      const std::uint32_t byte_read = byte();
      result |= (byte_read & 0x7FU) << shift;
      if (byte_read < 0x80) return result;
    }
  }
  ClauseId header() {
    ClauseId id = 0;
    for (unsigned shift = 0; shift < 32; shift += 8)
      id |= std::uint32_t{byte()} << shift;
    return id;
  }
  // The record's size and kind, which stand behind its header.
  void size_and_kind() {
    const std::uint32_t number_read = number();
    size = number_read / 4;
    kind = static_cast<NodeKind>(number_read & 3U);
  }
  // Goes from behind the size to the end of the record.
  void skip_rest() {
    const std::uint64_t numbers =
        kind == NodeKind::CHAIN ? 1 + std::uint64_t{2} * size : 1 + std::uint64_t{size};
    for (std::uint64_t i = 0; i < numbers; i++)
      while (byte() >= 0x80) {
      }
  }

  std::uint32_t size = 0;
  NodeKind kind = NodeKind::INPUT;

 private:
  const ProofStore* store_;
  Offset offset_;
};

ClauseId ProofStore::add_leaf(NodeKind kind, LiteralSpan literals, Tag tag) {
  assert(kind != NodeKind::CHAIN);
  const ClauseId id = begin_record();
  put_number(packed(literals.size(), kind));
  put_number(tag);
  std::uint32_t last = 0;
  for (const Literal literal : literals) {
    assert(literal.code() >= last);
    put_number(literal.code() - last);
    last = literal.code();
  }
  return id;
}

ClauseId ProofStore::add_chain(const Chain& chain) {
  assert(chain.first != NO_CLAUSE);
  hold(chain.first);
  if (chain.links.empty()) return chain.first;
  const ClauseId id = begin_record();
  put_number(packed(chain.links.size(), NodeKind::CHAIN));
  put_number(chain.first);
  for (const Chain::Link& link : chain.links) {
    put_number(link.pivot.code());
    put_number(link.antecedent);
    hold(link.antecedent);
  }
  return id;
}

void ProofStore::hold(ClauseId id) {
  assert(id < entries_.size() && entries_[id].holds > 0);
  entries_[id].holds++;
}

void ProofStore::release(ClauseId id) {
  assert(id < entries_.size() && entries_[id].holds > 0);
  if (--entries_[id].holds > 0) return;
  unheld_.push_back(id);
  while (!unheld_.empty()) {
    const ClauseId next = unheld_.back();
    unheld_.pop_back();
    drop(next, unheld_);
  }
  if (waste_ > BLOCK_SIZE && waste_ > end_ / 3) compact();
}

// Takes the clause `id` out; puts the clauses that only it has held into `unheld`.
void ProofStore::drop(ClauseId id, std::vector<ClauseId>& unheld) {
  assert(entries_[id].holds == 0);
  const Offset begin = entries_[id].record;
  Reader reader(*this, begin);
  const ClauseId owner = reader.header();
  assert(owner == id);
  static_cast<void>(owner);
  reader.size_and_kind();
  if (reader.kind == NodeKind::CHAIN) {
    const auto give_back = [&](ClauseId antecedent) {
      assert(entries_[antecedent].holds > 0);
      if (--entries_[antecedent].holds == 0) unheld.push_back(antecedent);
    };
    give_back(reader.number());
    for (std::uint32_t i = 0; i < reader.size; i++) {
      reader.number();
      give_back(reader.number());
    }
  } else {
    reader.skip_rest();
  }
  waste_ += reader.offset() - begin;
  put_header(begin, NO_CLAUSE);
  free_.push_back(id);
  held_--;
}

// Moves the records together, over the waste. What is written is never ahead of what is
// read, so one pass over the same blocks does it.
void ProofStore::compact() {
  const Offset old_end = end_;
  Offset target = 0;
  for (Reader reader(*this, 0); reader.offset() < old_end;) {
    const Offset begin = reader.offset();
    const ClauseId id = reader.header();
    reader.size_and_kind();
    reader.skip_rest();
    if (id == NO_CLAUSE) continue;
    entries_[id].record = target;
    for (Reader source(*this, begin); source.offset() < reader.offset(); target++)
      blocks_[target >> BLOCK_BITS][target & (BLOCK_SIZE - 1)] = source.byte();
  }
  assert(target + waste_ == old_end);
  assert(unheld_.empty());
  end_ = target;
  waste_ = 0;
  blocks_.resize((end_ + BLOCK_SIZE - 1) >> BLOCK_BITS);
}

// Goes through what a clause needs, depth first, without recursion.
class ProofStore::Extraction {
 public:
  explicit Extraction(const ProofStore& store)
      : store_(store), node_of_(store.entries_.size(), UNSEEN) {}

  ClauseProof run(ClauseId id) {
    open(id);
    while (!frames_.empty()) {
      Frame& frame = frames_.back();
      const bool is_chain = frame.reader.kind == NodeKind::CHAIN;
      if (is_chain && frame.read <= frame.reader.size) {
        if (frame.read > 0) frame.reader.number();  // the pivot
        frame.read++;
        const ClauseId antecedent = frame.reader.number();
        if (node_of_[antecedent] == UNSEEN) open(antecedent);
      } else {
        node_of_[frame.id] = is_chain ? add_chain(frame.id) : add_leaf(frame.reader);
        frames_.pop_back();
      }
    }
    assert(proof_.is_normal());
    return std::move(proof_);
  }

 private:
  static constexpr NodeIndex UNSEEN = 0xFFFFFFFFU;
  // A clause on the way. A chain's antecedents are gone through; when all of them have
  // nodes, the chain is read again and gets its own.
  struct Frame {
    ClauseId id;
    Reader reader;
    std::uint32_t read;  // antecedents gone through
  };

  [[nodiscard]] Reader reader_of(ClauseId id) const {
    Reader reader(store_, store_.entries_[id].record);
    const ClauseId owner = reader.header();
    assert(owner == id);
    static_cast<void>(owner);
    reader.size_and_kind();
    return reader;
  }
  void open(ClauseId id) { frames_.push_back({id, reader_of(id), 0}); }
  NodeIndex add_leaf(Reader& reader) {
    const Tag tag = reader.number();
    literals_.clear();
    std::uint32_t code = 0;
    for (std::uint32_t i = 0; i < reader.size; i++)
      literals_.push_back(Literal::of_code(code += reader.number()));
    return proof_.add_leaf(reader.kind, literals_, tag);
  }
  NodeIndex add_chain(ClauseId id) {
    Reader reader = reader_of(id);
    const NodeIndex node = proof_.begin_chain(node_of_[reader.number()]);
    for (std::uint32_t i = 0; i < reader.size; i++) {
      const Literal pivot = Literal::of_code(reader.number());
      proof_.add_step(pivot, node_of_[reader.number()]);
    }
    return node;
  }

  const ProofStore& store_;
  std::vector<NodeIndex> node_of_;  // by id
  std::vector<Frame> frames_;
  std::vector<Literal> literals_;  // of one leaf
  ClauseProof proof_;
};

ClauseProof ProofStore::extract(ClauseId id) const {
  assert(id < entries_.size() && entries_[id].holds > 0);
  return Extraction(*this).run(id);
}

std::size_t ProofStore::bytes() const {
  return blocks_.size() * BLOCK_SIZE + entries_.capacity() * sizeof(Entry) +
         free_.capacity() * sizeof(ClauseId);
}

bool ProofStore::is_normal() const {
  std::vector<std::uint32_t> holds(entries_.size(), 0);  // of chains
  Offset waste = 0;
  std::size_t held = 0;
  for (Reader reader(*this, 0); reader.offset() < end_;) {
    const Offset begin = reader.offset();
    const ClauseId id = reader.header();
    reader.size_and_kind();
    Reader rest = reader;
    reader.skip_rest();
    if (id == NO_CLAUSE) {
      waste += reader.offset() - begin;
      continue;
    }
    if (id >= entries_.size() || entries_[id].record != begin || entries_[id].holds == 0)
      return false;
    held++;
    if (rest.kind != NodeKind::CHAIN) continue;
    holds[rest.number()]++;
    for (std::uint32_t i = 0; i < rest.size; i++) {
      rest.number();
      holds[rest.number()]++;
    }
  }
  for (std::size_t id = 0; id < entries_.size(); id++)
    if (holds[id] > entries_[id].holds) return false;
  return waste == waste_ && held == held_ && held_ + free_.size() == entries_.size() &&
         unheld_.empty();
}

ClauseId ProofStore::begin_record() {
  ClauseId id = 0;
  if (free_.empty()) {
    id = static_cast<ClauseId>(entries_.size());
    entries_.emplace_back();
  } else {
    id = free_.back();
    free_.pop_back();
  }
  assert(entries_[id].holds == 0);
  entries_[id] = {end_, 1};
  for (std::size_t i = 0; i < HEADER_SIZE; i++)
    put_byte(0);
  put_header(entries_[id].record, id);
  held_++;
  return id;
}

void ProofStore::put_byte(std::uint8_t byte) {
  const std::size_t block = end_ >> BLOCK_BITS;
  assert(block <= blocks_.size());
  if (block == blocks_.size()) blocks_.emplace_back(new std::uint8_t[BLOCK_SIZE]);
  assert(blocks_[block] != nullptr);
  blocks_[block][end_ & (BLOCK_SIZE - 1)] = byte;
  end_++;
}

void ProofStore::put_number(std::uint32_t number) {
  for (; number >= 0x80; number >>= 7)
    put_byte(static_cast<std::uint8_t>(number | 0x80));
  put_byte(static_cast<std::uint8_t>(number));
}

void ProofStore::put_header(Offset at, ClauseId id) {
  for (std::size_t i = 0; i < HEADER_SIZE; i++, id >>= 8)
    blocks_[(at + i) >> BLOCK_BITS][(at + i) & (BLOCK_SIZE - 1)] =
        static_cast<std::uint8_t>(id);
}

}  // namespace opal::resolution

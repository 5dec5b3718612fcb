// Merges of coefficient lists against a plain model, which keeps a list of constraints for
// each variable in a hash table, and follows the rules of merging word by word.

#include <random>

#include "tests/engine/small_host.h"

namespace opal::small {
namespace {

using la::CoeffList;
using la::Equation;

struct Model {
  Model(Host& h, const Probe::TermSet& set) : host(h), vars(set) {}
  Host& host;
  const Probe::TermSet& vars;
  hsh::HashMap<int, CoeffList> occurrence;
  CoeffList ground;
  std::deque<Equation> sums;

  static void put(CoeffList& list, QNumber* q, Equation* e) {
    for (auto& pair : list)
      if (pair.second == e) return void(pair.first = q);
    list.emplace_back(q, e);
  }
  void enter(QNumber* q, Equation* e) {
    for (const auto& term : e->coeffs())
      put(occurrence[term.first], q, e);
    if (!e->has_vars()) put(ground, q, e);
  }
  void leave(const Equation* e) {
    for (const auto& term : e->coeffs()) {
      CoeffList& list = occurrence[term.first];
      list.erase(std::find_if(list.begin(), list.end(),
                              [e](const auto& pair) { return pair.second == e; }));
    }
  }
  static void add(Equation& to, const QNumber* q, const Equation& e) {
    Equation scaled = e;
    if (q != nullptr) scaled.mult(*q);
    for (const auto& [v, a] : scaled.coeffs())
      to.add_var(a, v);
    if (scaled.constant() != nullptr) to.add_const(*scaled.constant());
  }
  bool pass() {
    std::vector<int> order;
    for (const auto& entry : occurrence)
      order.push_back(entry.first);
    bool changed = false;
    for (const int v : order) {
      const CoeffList list = occurrence.find(v)->second;
      if (v == Mapper::DELTA || list.size() < 2 || vars.contains(host.mapper->var_term(v)))
        continue;
      Equation& sum = sums.emplace_back();
      for (int i : {0, 1}) {
        const auto& [q, e] = list[static_cast<std::size_t>(i)];
        add(sum, q, *e);
        leave(e);
      }
      enter(nullptr, &sum);
      changed = true;
    }
    return changed;
  }
  CoeffList result() const {
    CoeffList all;
    for (const auto& entry : occurrence)
      for (const auto& [q, e] : entry.second)
        put(all, q, e);
    for (const auto& [q, e] : ground)
      put(all, q, e);
    return all;
  }
};

// Few or many constraints over variables that share buckets, with links, duplicates, zeros
// and constraints without variables; into an empty list, and behind one that is not.
TEST(Merges, AgreeWithTheModelInPairsMultipliersAndOrder) {
  Host host;
  Probe probe(host);  // which keeps the memory of its table from merge to merge
  std::size_t merged = 0, apart = 0;
  for (unsigned seed = 0; seed < 4000 && !HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    auto pick = [&](int low, int high) {
      return std::uniform_int_distribution<int>(low, high)(random);
    };
    probe.clear_cache();
    Probe::TermSet vars;
    const int range = seed % 4 == 0 ? 5 : seed % 4 == 1 ? 12 : 70;
    for (int v = 2; v < range + 2; ++v)
      if (pick(0, 1 + static_cast<int>(seed % 3)) > 0)
        vars.insert(host.mapper->var_term(v));
    if (seed % 16 == 0) vars.clear();
    std::vector<QNumber> multipliers{2, 3, QNumber(1) / QNumber(2)};
    CoeffList lists[2], out, expected;
    const int size = seed % 5 == 0 ? 14 : seed % 2 == 0 ? 1 : 4;
    for (CoeffList& list : lists)
      for (int i = pick(0, size); i > 0; --i) {
        Row coeffs;
        for (int k = pick(0, 4); k > 0; --k)
          coeffs.emplace_back(pick(0, 9) == 0 ? Mapper::DELTA : pick(2, range + 1),
                              2 * pick(0, 1) - 1);
        Equation* e =
            pick(0, 9) == 0 ? probe.get_zero() : probe.own(row(coeffs, pick(-1, 1)));
        if (pick(0, 9) == 0 && !lists[0].empty()) e = lists[0].front().second;
        const std::size_t m = static_cast<std::size_t>(pick(0, 3));
        list.emplace_back(m == 3 ? nullptr : &multipliers[m], e);
      }
    if (pick(0, 5) == 0) out.emplace_back(nullptr, probe.own(row({{2, 1}}, 7)));
    expected = out;

    Model model(host, vars);
    for (const CoeffList& list : lists)
      for (const auto& [q, e] : list)
        if (e != probe.get_zero()) model.enter(q, e);
    while (model.pass()) {
    }
    const CoeffList pairs = model.result();
    expected.insert(expected.end(), pairs.begin(), pairs.end());
    if (expected.empty()) expected.emplace_back(nullptr, probe.get_zero());
    merged += model.sums.size();
    apart += pairs.size();

    const std::string before[] = {Probe::coefflist_to_str(lists[0]),
                                  Probe::coefflist_to_str(lists[1])};
    probe.combine_eq_coeff_lists(lists[0], lists[1], &out, vars);
    EXPECT_EQ(Probe::coefflist_to_str(out), Probe::coefflist_to_str(expected));
    for (const int i : {0, 1})
      EXPECT_EQ(Probe::coefflist_to_str(lists[i]), before[i]);
  }
  EXPECT_TRUE(merged > 2000 && apart > 5000) << merged << " sums, " << apart << " pairs";
}

}  // namespace
}  // namespace opal::small

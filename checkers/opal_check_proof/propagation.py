"""Formulas with shared parts, and contradictions found by propagation.

A formula is a literal: twice the number of a node, plus one for its negation. Nodes are
constraints, Boolean variables, conjunctions and equivalences, each once; `or` is a negated
`and`. Node 0 is true.

    (or p (and q r))    p: 2   q: 4   r: 6   (and q r): 8   (and (not p) (not 8)): 10
                        the formula: 11

That a clause follows from formulas is shown by assuming its literals false: truth goes up and
down through the nodes until there is a contradiction. Only what the clause touches is looked
at, unless that is not enough.
"""

from .formulas import Junction
from .linear import Constraint

TRUE, FALSE = 0, 1


class Formulas:
    """All formulas of a problem and its proofs. `valid` are literals that always hold."""

    def __init__(self):
        self.operands = [()]  # by node: literals; () for what has none
        self.equivalences = set()  # nodes; the others with operands are conjunctions
        self.parents = [[]]
        self.valid = {TRUE}
        self._nodes = {}  # literals by what their node says
        self._known = {}  # by id of a Junction: it, and its literal

    def literal(self, formula):
        """The literal of a formula. Iterative."""
        stack = [formula]
        while stack:
            f = stack[-1]
            if self._of(f) is not None:
                stack.pop()
                continue
            missing = [g for g in f.operands if self._of(g) is None]
            if missing:
                stack += missing
            else:
                self._known[id(f)] = f, self._junction(f)
        return self._of(formula)

    def _of(self, f):
        if isinstance(f, Junction):
            return self._known[id(f)][1] if id(f) in self._known else None
        return self._constraint(f) if isinstance(f, Constraint) else FALSE - int(f)

    def _constraint(self, constraint):
        key, opposite = constraint.key(), constraint.negated().key()
        if isinstance(key, bool):
            return FALSE - key
        if isinstance(opposite, bool):
            return int(opposite)
        if key not in self._nodes:
            self._nodes[key] = self._node(())
            self._nodes[opposite] = self._nodes[key] + 1
        return self._nodes[key]

    def _node(self, operands):
        """The literal of a new node."""
        self.operands.append(operands)
        self.parents.append([])
        for literal in operands:
            self.parents[literal >> 1].append(len(self.operands) - 1)
        return 2 * (len(self.operands) - 1)

    def _junction(self, f):
        sign = int(f.negated)
        if not f.kind:
            if f.name not in self._nodes:
                self._nodes[f.name] = self._node(())
            return self._nodes[f.name] ^ sign
        operands = [self._of(g) for g in f.operands]
        if f.kind == "=":
            return self._equivalence(*operands) ^ sign
        if f.kind == "or":
            operands, sign = [g ^ 1 for g in operands], sign ^ 1
        return self._conjunction(set(operands) - {TRUE}) ^ sign

    def _conjunction(self, operands):
        if any(g ^ 1 in operands for g in operands) or FALSE in operands:
            return FALSE
        if len(operands) < 2:
            return operands.pop() if operands else TRUE
        return self._shared(tuple(sorted(operands)))

    def _equivalence(self, a, b):
        sign = (a ^ b) & 1
        a, b = sorted((a & ~1, b & ~1))
        if a == TRUE or a == b:
            return (b if a != b else TRUE) ^ sign
        result = self._shared((a, b, "="))
        return result ^ sign

    def _shared(self, key):
        if key not in self._nodes:
            is_equivalence = key[-1] == "="
            self._nodes[key] = self._node(key[:-1] if is_equivalence else key)
            if is_equivalence:
                self.equivalences.add(self._nodes[key] >> 1)
        return self._nodes[key]

    def disjunction(self, a, b):
        """Of two literals."""
        return self._conjunction({a ^ 1, b ^ 1}) ^ 1

    def conjuncts(self, literal):
        """The literals of which a formula is the conjunction, itself included."""
        result, stack = set(), [literal]
        while stack:
            top = stack.pop()
            if top in result:
                continue
            result.add(top)
            if not top & 1 and top >> 1 not in self.equivalences:
                stack += self.operands[top >> 1]
        return result

    def contradict(self, literals, facts):
        """Whether propagation shows that literals and facts contradict each other."""
        if FALSE in facts:
            return True
        return (Propagation(self, facts).run(literals)
                or Propagation(self, facts).run([*literals, *facts, *self.valid]))


class Conflict(Exception):
    """A node that is both true and false."""


class Propagation:
    """What follows from literals that are set, and from facts."""

    def __init__(self, formulas, facts):
        self.formulas, self.facts = formulas, facts
        self.set, self.waiting = set(), []

    def run(self, literals):
        """Whether there is a contradiction."""
        try:
            for literal in literals:
                self.assign(literal)
            while self.waiting:
                self.look_at(self.waiting.pop())
        except Conflict:
            return True
        return False

    def holds(self, literal):
        return (literal in self.set or literal in self.facts
                or literal in self.formulas.valid)

    def assign(self, literal):
        if self.holds(literal ^ 1):
            raise Conflict()
        if literal in self.set:
            return
        self.set.add(literal)
        node = literal >> 1
        self.waiting += self.formulas.parents[node]
        if self.formulas.operands[node]:
            self.waiting.append(node)

    def look_at(self, node):
        if node in self.formulas.equivalences:
            self.look_at_equivalence(2 * node, *self.formulas.operands[node])
        else:
            self.look_at_conjunction(2 * node, self.formulas.operands[node])

    def look_at_conjunction(self, whole, operands):
        """
             a and b         not a             a, b         not (a and b)   a
            ---------    ---------------    ---------     ----------------------
               a, b       not (a and b)      a and b             not b
        """
        if self.holds(whole):
            for operand in operands:
                self.assign(operand)
            return
        open_operands = []
        for operand in operands:
            if self.holds(operand ^ 1):
                self.assign(whole ^ 1)
                return
            if not self.holds(operand):
                open_operands.append(operand)
        if not open_operands:
            self.assign(whole)
        elif len(open_operands) == 1 and self.holds(whole ^ 1):
            self.assign(open_operands[0] ^ 1)

    def look_at_equivalence(self, whole, a, b):
        """Of the two formulas and their equivalence, two say what the third is: an even
        number of the three is false."""
        open_literals, is_odd = [], 0
        for literal in (whole, a, b):
            if self.holds(literal ^ 1):
                is_odd ^= 1
            elif not self.holds(literal):
                open_literals.append(literal)
                if len(open_literals) > 1:
                    return
        if open_literals:
            self.assign(open_literals[0] ^ is_odd)
        elif is_odd:
            raise Conflict()

"""What must hold of the answer to a query for interpolants.

The groups of a query are S-expressions: the name of an assertion, (and name ...), or a list
of groups, which is a tree of its own until the next group adopts it. Assertions are pairs
of a name, or None, and a formula; those that no group mentions belong to all.
"""

from . import sexpr
from .formulas import conjunction, negation


def nodes_of(groups):
    """The nodes of the query's tree, each (names, children), children first, root last."""
    nodes = []

    def visit(items):
        roots = []
        for item in items:
            if isinstance(item, list) and item[0] != "and":
                roots += visit(item)
            else:
                nodes.append((item[1:] if isinstance(item, list) else [item], roots))
                roots = [len(nodes) - 1]
        return roots

    visit(groups)
    return nodes


def steps_of(groups, answer, assertions, symbols_in):
    """The formulas that must be unsatisfiable for an answer to be right, one a node.
    `symbols_in` tells the declared symbols in a list of formulas, given as texts. Raises
    ValueError when the shape of the answer or a symbol in it is wrong."""
    nodes = nodes_of(groups)
    if not isinstance(answer, list) or len(answer) != len(nodes) - 1:
        raise ValueError(f"expected {len(nodes) - 1} interpolants: {sexpr.show(answer)[:300]}")
    interpolants = [sexpr.show(term) for term in answer]
    mentioned = {name for names, _ in nodes for name in names}
    background = [f for name, f in assertions if name not in mentioned]
    formulas = {name: f for name, f in assertions}
    everywhere = symbols_in(background)
    own = [symbols_in([formulas[name] for name in names]) for names, _ in nodes]
    below, steps = [], []
    for i, (names, children) in enumerate(nodes):
        below.append({i}.union(*(below[c] for c in children)))
        premises = background + [formulas[name] for name in names]
        premises += [interpolants[c] for c in children]
        if i < len(interpolants):
            inside = everywhere.union(*(own[k] for k in below[i]))
            outside = everywhere.union(*(own[k] for k in range(len(nodes)) if k not in below[i]))
            alien = symbols_in([interpolants[i]]) - (inside & outside)
            if alien:
                raise ValueError(f"symbols that are not shared: {sorted(alien)} in "
                                 f"{interpolants[i][:1000]}")
            premises.append(negation(interpolants[i]))
        steps.append(conjunction(premises))
    return steps

"""The questions to the tool about a problem, and what must hold of its answers."""

import re

import sexpr
from formulas import conjunction, declarations, symbols_in

KNOWN = set("! true false not and or => = distinct < <= > >= + - * / div mod to_real to_int "
            "is_int _ divisible let ite".split())
CONSTANT = re.compile(r"\d+(\.\d+)?$")


def group_names(problem):
    return [f"G{i}" for i in range(problem.groups)]


def tree_of(problem):
    """For each group its children, and the root."""
    children = {i: [] for i in range(problem.groups)}

    def visit(items, open_roots):
        for item in items:
            if isinstance(item, list):
                open_roots.extend(visit(item, []))
            else:
                node = int(item[1:])
                children[node], open_roots = open_roots, [node]
        return open_roots

    # Groups in parentheses are trees of their own until the next group adopts them.
    roots = visit(sexpr.parse_all(problem.tree or " ".join(group_names(problem))), [])
    assert len(roots) == 1
    return children, roots[0]


def queries_of(problem):
    """The ways in which interpolants are asked: (mode, cuts, text, exchanged)."""
    order = problem.tree or " ".join(group_names(problem))
    modes = ["sum", "conj"] if problem.tree else ["sum", "conj", "dual"]
    asked = [(mode, "auto") for mode in modes + ["auto"]]
    if not problem.rational():
        styles = ["modular", "floor"] if problem.groups == 2 else ["floor"]
        asked = [(mode, cuts) for cuts in styles for mode in modes] + asked[-1:]
        if problem.groups > 2:
            asked.append(("conj", "auto"))
    result = [(mode, cuts, order, False) for mode, cuts in asked]
    if problem.groups == 2:
        result += [(mode, cuts, "G1 G0", True) for mode, cuts in asked]
    return result


def script_of(problem):
    lines = [f"(set-logic {problem.logic})"]
    lines += declarations(symbols_in(f for _, f in problem.assertions))
    names = {g: [] for g in range(problem.groups)}
    for group, formula in problem.assertions:
        if group is None:
            lines.append(f"(assert {formula})")
        else:
            name = f"n{group}-{len(names[group])}"
            names[group].append(name)
            lines.append(f"(assert (! {formula} :named {name}))")
    lines += ["(check-sat)", "(get-model)"]
    for mode, cuts, order, _ in queries_of(problem):
        named = re.sub(r"G(\d+)", lambda m: group_text(names[int(m.group(1))]), order)
        lines.append(f"(set-option :opal-mode {mode})")
        if not problem.rational():
            lines.append(f"(set-option :opal-cuts {cuts})")
        lines.append(f"(get-interpolants {named})")
    return "\n".join(lines) + "\n"


def group_text(names):
    return names[0] if len(names) == 1 else f"(and {' '.join(names)})"


def steps_of(problem, interpolants, exchanged):
    """The conditions on the interpolants of one query: formulas that must be unsatisfiable.
    Raises ValueError when the shape or a symbol is wrong."""
    children, root = tree_of(problem)
    if exchanged:
        children, root = {1: [], 0: [1]}, 0
    nodes = post_order(children, root)
    if not isinstance(interpolants, list) or len(interpolants) != len(nodes) - 1:
        raise ValueError("wrong number of interpolants")
    terms = dict(zip(nodes, interpolants))
    below = {}
    for node in nodes:
        below[node] = {node}.union(*(below[c] for c in children[node]))
    refutations = []
    for node in nodes:
        premises = problem.in_group(None) + problem.in_group(node)
        premises += [sexpr.show(terms[c]) for c in children[node]]
        if node != root:
            check_symbols(problem, terms[node], below[node])
            premises.append(f"(not {sexpr.show(terms[node])})")
        refutations.append(conjunction(premises))
    return refutations


def check_symbols(problem, term, below):
    """The interpolant of the groups below a node has no symbol but what they share with the
    other groups."""
    background = problem.in_group(None)
    inside = [f for g, f in problem.assertions if g in below]
    outside = [f for g, f in problem.assertions if g is None or g not in below]
    shared = symbols_in(inside + background) & symbols_in(outside)
    atoms = sexpr.atoms(term)
    free = {a for a in atoms if a not in KNOWN and not CONSTANT.match(a)}
    if "let" in atoms:  # it binds names of its own
        free = {a for a in free if symbols_in([a])}
    if not free <= shared:
        raise ValueError(f"symbols of one side: {sorted(free - shared)} in {sexpr.show(term)}")


def post_order(children, root):
    order, work = [], [(root, False)]
    while work:
        node, done = work.pop()
        if done:
            order.append(node)
        else:
            work.append((node, True))
            work.extend((c, False) for c in reversed(children[node]))
    return order

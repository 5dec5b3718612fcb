"""Families of propositional formulas, as lists of clauses of DIMACS literals.

Each takes a size and a random.Random and returns the clauses.
"""


def three_sat(n, random, ratio=4.26):
    """Random 3-SAT with n variables, at the threshold unless told otherwise."""
    clauses = []
    for _ in range(round(ratio * n)):
        variables = random.sample(range(1, n + 1), 3)
        clauses.append([v if random.random() < 0.5 else -v for v in variables])
    return clauses


def pigeons(n, random):
    """n + 1 pigeons in n holes, in a random order of names."""
    names = list(range(1, n * (n + 1) + 1))
    random.shuffle(names)
    in_hole = [[names[p * n + h] for h in range(n)] for p in range(n + 1)]
    clauses = [list(row) for row in in_hole]
    for hole in range(n):
        for p in range(n + 1):
            clauses += [[-in_hole[p][hole], -in_hole[q][hole]] for q in range(p)]
    return clauses


def parity(n, random):
    """Equations a xor b xor c = d on a random 3-regular graph of n vertices; their sum is 0 = 1."""
    n += n % 2
    while True:
        ends = [v for v in range(n) for _ in range(3)]
        random.shuffle(ends)
        edges = list(zip(ends[::2], ends[1::2]))
        if all(a != b for a, b in edges):
            break
    clauses = []
    for vertex in range(n):
        at = [i + 1 for i, edge in enumerate(edges) if vertex in edge]
        wanted = 1 if vertex == 0 else 0
        for signs in range(1 << len(at)):
            ones = bin(signs).count("1")
            if ones % 2 != wanted:  # this assignment is wrong
                clauses.append([-v if signs >> i & 1 else v for i, v in enumerate(at)])
    return clauses


def planning(n, random, steps=None):
    """Packages carried by one truck between n places; whether the steps suffice is left open.

    At each step the truck is in one place and may drive along a road, load or unload; a
    package is in one place or on the truck; goals at the end. Frame axioms explain changes.
    """
    packages = n // 2
    steps = steps if steps is not None else 2 * n
    counter = iter(range(1, 1 << 30))
    roads = [{(i + 1) % n, (i - 1) % n} for i in range(n)]
    for _ in range(n // 2):
        a, b = random.sample(range(n), 2)
        roads[a].add(b)
        roads[b].add(a)
    truck = [[next(counter) for _ in range(n)] for _ in range(steps + 1)]
    on = [[next(counter) for _ in range(packages)] for _ in range(steps + 1)]
    at = [[[next(counter) for _ in range(n)] for _ in range(packages)]
          for _ in range(steps + 1)]
    clauses = []
    for t in range(steps + 1):
        clauses.append(list(truck[t]))
        clauses += [[-truck[t][i], -truck[t][j]] for i in range(n) for j in range(i)]
        for p in range(packages):
            states = at[t][p] + [on[t][p]]
            clauses.append(list(states))
            clauses += [[-states[i], -states[j]] for i in range(n + 1) for j in range(i)]
    for t in range(steps):
        for i in range(n):
            clauses.append([-truck[t][i], truck[t + 1][i]] +
                           [truck[t + 1][j] for j in sorted(roads[i])])
            for p in range(packages):  # a package moves only where the truck stands still
                clauses.append([-at[t][p][i], at[t + 1][p][i], on[t + 1][p]])
                for changed in ([-at[t][p][i], at[t + 1][p][i]],
                                [at[t][p][i], -at[t + 1][p][i]]):
                    clauses += [changed + [truck[t][i]], changed + [truck[t + 1][i]]]
        # One package is loaded or unloaded at a step.
        for p in range(packages):
            for q in range(p):
                clauses.append([-on[t][p], on[t + 1][p], -on[t][q], on[t + 1][q]])
                clauses.append([on[t][p], -on[t + 1][p], on[t][q], -on[t + 1][q]])
    clauses.append([truck[0][0]])
    for p in range(packages):
        source, target = random.sample(range(n), 2)
        clauses += [[at[0][p][source]], [at[steps][p][target]]]
    return clauses


def dimacs(clauses):
    variables = max((abs(v) for clause in clauses for v in clause), default=0)
    lines = [f"p cnf {variables} {len(clauses)}"]
    lines += [" ".join(map(str, clause)) + " 0" for clause in clauses]
    return "\n".join(lines) + "\n"

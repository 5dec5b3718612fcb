"""Problems for the mutation test, and proofs of them where the tool makes none such.

Of each: declared integers and reals, assertions, a proof or "" for the tool's own.
"""

CASES = {
    "rational": ("", "x y z", ["(<= (+ (* 2.0 x) y) 3.0)", "(< z (/ y 3.0))",
                               "(>= (* 0.5 z) 2.0)", "(= (+ x (/ 1.0 2.0)) (* 2.0 y))"], ""),
    "names": ("", '|q"\té|', ['(< |q"\té| 1.0)', '(> |q"\té| 1.0)'], ""),
    "both halves": ("", "x y z", ["(= (+ x y) 3.0)", "(= (- x y) 1.0)", "(= (* 3.0 x) z)",
                                  "(> z 6.0)"], ""),
    "disequality": ("", "x y", ["(<= x y)", "(>= x y)", "(distinct (* 2.0 x) (* 2.0 y))"], ""),
    "integer bounds": ("i j", "", ["(< (* 2 i) 5)", "(>= (* 3 i) (+ j 7))", "(> (* 2 j) 1)",
                                   "(<= j 4)"], ""),
    "dioph": ("i j k", "", ["(= i (* 2 j))", "(= i (+ 1 (* 4 k)))"], ""),
    "cut": ("i j k", "", ["(<= (- (* 2 j) i) 0)", "(= i 5)", "(>= j 3)"],
            "(la-comb 1 (la-tight 2 1 (= i 5) 1 (<= (- (* 2 j) i) 0)) 1 (la-hyp (>= j 3)))"),
    "cuts": ("i j k", "", ["(<= i (* 2 j))", "(>= i (* 2 j))", "(<= i (+ (* 2 k) 1))",
                           "(>= i (+ (* 2 k) 1))"],
             "(let ((@1 (<= i (* 2 j)))) (la-comb "
             "1 (la-tight 2 (- 1) @1 1 (>= i (+ (* 2 k) 1)))"
             "1 (la-tight 2 1 (>= i (* 2 j)) 1 (<= i (+ (* 2 k) 1)))))"),
    "branches": ("i j", "", ["(<= 1 (- (* 3 i) (* 2 j)))", "(>= 2 (- (* 3 i) (* 2 j)))",
                             "(<= 2 (* 3 j))", "(<= j 2)", "(distinct (+ i j) 3 )",
                             "(distinct j 2)"], ""),
    "branch tree": ("i j", "", ["(< (+ i j) 5)", "(distinct i 2)", "(>= i 2)", "(>= (* 2 j) 4)"],
        "(let ((@1 (la-hyp (>= i 2)))) (let ((@2 (la-hyp (< (+ i j) 5))))"
        "(let ((@3 (la-hyp (<= 3 i)))) (la-branch-and-bound (<= i 2)"
        "(la-neq (not (= i 2)) (la-comb 2 (la-hyp-eq (- 1) (not (= i 2))) 2 @1)"
        " (la-comb 1 (la-hyp-eq 1 (not (= i 2))) 1 (la-hyp (<= i 2))))"
        "(<= 3 i) (la-branch-and-bound (<= j 1)"
        "(la-comb 1 (la-hyp (<= j 1)) 1 (la-hyp (>= (* 2 j) 4)))"
        "(<= 2 j) (la-comb 1 (la-comb 1 @3 1 (la-hyp (<= 2 j))) 1 @2)))))) "),
    "cut of a branch": ("i j", "", ["(= i (* 2 j))", "(<= i 1)", "(>= (+ i j) 1)"],
        "(la-branch-and-bound (<= i 0) (la-comb 1 (la-comb 2 (la-tight 3 1 (= i (* 2 j)) "
        "1 (>= (+ i j) 1)) 1 (la-hyp (<= i 0))) 1 (la-hyp-eq 1 (= i (* 2 j))))"
        "(<= 1 i) (la-comb 1 (la-tight 2 (- 1) (= i (* 2 j)) 1 (<= 1 i)) 1 "
        "(la-tight 2 (- 1) (= i (* 2 j)) 1 (<= i 1))))"),
    "floors": ("i", "x", ["(= (to_int x) (* 2 i))", "(is_int (* 0.5 (to_real i)))",
                          "(< x 3.0)", "(>= x 1.0)"], ""),
    "mod": ("i j", "", ["(= (mod i 4) 3)", "(= (div j 2) i)", "(= (mod j 4) 1)"], ""),
    "mixed": ("i j", "x", ["(= x (+ (to_real i) 0.5))", "(< (to_real j) x)", "(>= j (+ i 1))"], ""),
    "unit": ("i", "x", ["false"], "(la-unit (<= (to_real (to_int x)) x))"),
    "integer unit": ("i", "x", ["false"], "(la-unit (not (= (* 2 i) 3)))"),
    "split lemma": ("i", "x y", ["false"], "(la-spliteq (= x (* 2.0 y)) (<= x (* 2.0 y)) "
                                           "(<= (* 2.0 y) x))"),
    "branch lemma": ("i j", "", ["false"], "(la-branch-and-bound-lemma (<= (- i j) 3) "
                                           "(<= 4 (- i j)))"),
    "wide branch lemma": ("i j", "", ["false"], "(la-branch-and-bound-lemma (<= i 3) "
                                                "(= i 4) (>= i 5))"),
}

# Formulas that are no conjunctions: declared Booleans, integers and reals, and assertions.
FORMULAS = {
    "clauses": ("p", "", "x y", ["(or (<= x 0.0) (<= y 0.0))", "(=> p (and (<= 1.0 x) (<= 1.0 y)))",
                                 "p"]),
    "auxiliaries": ("p q", "i", "", ["(or (and p (< i 3)) (and q (> i 5)))",
                                     "(= p (not q))", "(ite p (> (* 2 i) 7) (= (mod i 6) i))"]),
    "equalities": ("p", "i j", "", ["(or (= i j) (= i (+ j 1)))", "(distinct i j)",
                                    "(xor p (= (* 2 i) (+ (* 2 j) 2)))", "p"]),
    "numeral": ("p", "", "", ["(or p (not p))", "((_ divisible 3) 1)", "(or p p)"]),
    "empty clause": ("p", "", "", ["(or p true)", "(and p (not p))", "(or false false)"]),
}

# Proofs that no single change of a right one gives, of one problem; what is said of them.
WRONG_PROBLEM = """
(declare-const i Int) (declare-const j Int) (declare-const x Real)
(push) (assert (= i 1)) (pop)
(assert (and (<= i 0) (<= i 1) (= (* 2 j) i) (<= 3 (* 3 j)))) (assert (! (< x 1.0) :named a))
(check-sat-assuming ((>= x 2.0) a))
"""
WRONG = [
    ("(la-comb 1 (la-hyp (<= i 0)) (- 1) (la-hyp (<= i 1)))",
     "1: la-comb: expected a positive multiplier, found -1"),
    ("(la-comb 1 (la-hyp (<= i 0)) 1 (la-hyp-eq 1 (= i 1)))",
     "32: la-hyp-eq: expected a literal that is asserted, a branch or case above, or the "
     "definition of a floor, found i = 1"),
    ("(la-neq (not (= i 3)) (la-comb 1 (la-hyp (< x 1.0)) 1 (la-hyp (>= x 2.0))) "
     "(la-comb 1 (la-hyp (< x 1.0)) 1 (la-hyp (>= x 2.0))))",
     "1: la-neq: expected a disequality that is asserted, found i != 3"),
    ("(la-comb 1 (la-tight 1 (/ 1 2) (= (* 2 j) i) 1 (<= 3 (* 3 j))) 1 (la-hyp (<= i 0)))",
     "12: la-tight: expected a multiplier that is an integer other than 0, found 1/2"),
    ("(la-tight 1 1 (< x 1.0))",
     "1: la-tight: expected integer constraints, neither strict nor !=, found x < 1"),
    ("(la-comb 1 (la-unit (<= 0 0)) 1 (la-hyp (<= i 0)))",
     "1: la-comb: expected a premise that derives a constraint, found la-unit"),
    ("(la-hyp-eq 2 (= i 1))", "1: la-hyp-eq: expected the sign 1 or -1, found 2"),
    ("(la-comb 1 (la-hyp (<= i 0)) 1)", "1: la-comb: expected 4 arguments, found 3"),
    ("(la-comb 1 (la-hyp (>= j 1)) 1 (la-hyp (<= i 0)))",
     "1: la-comb: expected a contradiction, found -i + j >= 1"),
]

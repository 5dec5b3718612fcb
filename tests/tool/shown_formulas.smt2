; What is shown of refutations of formulas: proofs, explanations, dumps.
; ARGS: --explain
(set-logic ALL)
(declare-const x Real) (declare-const y Real) (declare-const i Int) (declare-const p Bool)

; clauses of named assertions and an assumption, two lemmas
(push)
(assert (! (or (<= x 0) (<= y 0)) :named a))
(assert (! (<= 1 x) :named |b c|))
(assert (! (=> p (< 1 y)) :named d))
(check-sat-assuming (p))
(get-proof)
(get-interpolants a |b c| d)
(pop)

; auxiliaries, a number by cases, and a floor; as JSON
(push)
(assert (! (or p (and (< i 2) (or (= x 3) (= x 4)))) :named a))
(assert (! (and (not p) (= x (ite (< i 2) y 5)) (> y 4) (= (mod i 2) 1)) :named b))
(check-sat)
(get-proof)
(set-option :opal-proof-format json)
(get-proof)
(get-interpolants a b)
(pop)

; no lemma, and the empty clause itself
(set-option :opal-dump-proof true)
(set-option :opal-proof-format sexp)
(push) (assert (xor p true)) (assert (or p false)) (check-sat) (pop)
(assert (or p true)) (assert (= p (not p))) (check-sat)

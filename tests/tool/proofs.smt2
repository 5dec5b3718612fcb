; ARGS: --on-error continue
; Proofs between other queries.
; EXIT: 1
(get-proof)
(set-option :opal-proof-format xml)
(set-option :produce-proofs true)
(declare-const x Real) (declare-const y Real) (declare-const z Real)

; combinations with halves of equalities; the same literal twice; then the same proof again
(push)
(assert (! (and (= y (+ x (/ 1 3))) (<= (* 2 x) 7)) :named a))
(assert (! (and (= z (* 2 y)) (< 8 z)) :named b))
(check-sat)
(get-proof)
(get-interpolants a b)
(get-proof)
(get-proof 1)
(pop)

; a disequality, one assumption, and a contradictory atom
(push)
(assert (and (distinct x 3) (<= x 3)))
(check-sat-assuming ((<= 3 x)))
(get-proof)
(check-sat-assuming ((<= 3 x) (< 1 0)))
(get-proof)
(pop)
(get-proof)

; a branch with a cut, as JSON; the rest of the shapes is in tests/checker
(declare-const i Int) (declare-const j Int) (declare-const k Int)
(assert (and (<= (+ j 2) (* 3 i)) (<= (* 2 i) (+ (* 3 j) 4)) (<= (+ (* 3 i) j) 1) (<= (- 3) (+ (* 2 i) (* 2 j)))))
(check-sat)
(set-option :opal-proof-format json)
(get-proof)

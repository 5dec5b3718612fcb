; ARGS: --on-error continue --mode sum
; EXIT: 1
; Declarations, assertions and names end with their level; answers after a pop are as
; good as the first.
(set-logic QF_LRA) (declare-const x Real) (assert (! (<= x 1) :named low))
(push) (declare-const y Real) (assert (! (<= 2 y) :named n))
(push 2) (assert (! (<= y x) :named m)) (check-sat)
(get-interpolants low n m) (get-interpolants n (and m low))
(pop) (check-sat) (get-interpolants low n)
(pop 2) (push) (assert (< y 1)) (pop)
(declare-const y Bool)
(push) (assert (! (>= x 2) :named n)) (check-sat)
(get-interpolants low n) (get-interpolants n low) (get-unsat-core)
(assert (! (>= x 3) :named n)) (get-interpolants low n) (check-sat)
(pop) (get-unsat-core) (check-sat)
(reset-assertions) (check-sat)
(assert (< x 1))
(declare-const x Real) (assert (! (< x 0) :named low))
(set-option :global-declarations true)
(push) (declare-const kept Real)
(pop) (assert (! (> x kept 0) :named high)) (check-sat)
(get-interpolants high low)
(reset) (declare-const x Real) (assert (! (< x x) :named low)) (check-sat)

; Values have the sort of their terms; terms are echoed as they were written.
(set-logic ALL) (declare-const i Int) (declare-fun |j k| () Int) (declare-const r Real)
(declare-const free Int) (define-fun twice ((n Int)) Int (* 2 n))
(define-const start Real 3) (assert (! (= (twice i) (- 14)) :named first))
(assert (= |j k| (- 1000000000000000000000000 i)))
(assert (= r (/ i 2) (- (! (* 0.5 7) :named half)))) (assert (<= i r start)) (check-sat)
(get-model)
(get-value (i |j k| r free (twice i) start half first (+ i 1) (+ i 1.0) (mod i 4) (/ i 7) (twice (- 3))))
(get-assignment) (get-assertions)
(push)
; The relaxation has no integer values here.
(declare-const z Int) (assert (! (< 0 (* 3 z) 3) :named between)) (check-sat)
(pop) (assert (= free (ite (< 1 2) (- 5) 5))) (assert (distinct i r free)) (check-sat)
(get-value (free (- free) (to_real free)))
; Only branching without end would decide this: the solver gives up.
(reset-assertions) (declare-const i Int) (declare-const j Int) (declare-const s Real)
(assert (and (= s (- i j)) (< 0 s 1))) (check-sat) (get-info :reason-unknown)

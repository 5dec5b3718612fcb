; A choice between numerals has the sort that its place wants; cases of comparisons.
(set-logic QF_LRA)
(declare-const p Bool) (declare-const x Real)
(push) (assert (distinct 0.0 (ite p 1.0 0.0))) (check-sat) (get-value (p (ite p 1 0))) (pop)
(assert (! (= x (ite p 1.0 3)) :named a)) (assert (! (< (+ x (ite p 2 0)) 3) :named b))
(check-sat) (get-interpolants a b)

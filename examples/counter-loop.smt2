; A loop that keeps two counters in step.
;
;     x := 0; y := 0
;     while (*) { x := x + 1; y := y + 2 }
;     assert y <= 2*x
;
; Three rounds of the loop in static single assignment form, and then a violated assertion.
; Nobody writes such a trace by hand: a software model checker does, and asks why it is
; impossible. The interpolants, one after each round, speak of the counters at that point
; only, and are all the same fact under renaming: the loop invariant y <= 2*x.
(set-logic QF_LRA)
(set-option :produce-interpolants true)
(declare-fun x0 () Real) (declare-fun y0 () Real)
(declare-fun x1 () Real) (declare-fun y1 () Real)
(declare-fun x2 () Real) (declare-fun y2 () Real)
(declare-fun x3 () Real) (declare-fun y3 () Real)

(assert (! (and (= x0 0.0) (= y0 0.0)) :named start))
(assert (! (and (= x1 (+ x0 1.0)) (= y1 (+ y0 2.0))) :named round1))
(assert (! (and (= x2 (+ x1 1.0)) (= y2 (+ y1 2.0))) :named round2))
(assert (! (and (= x3 (+ x2 1.0)) (= y3 (+ y2 2.0))) :named round3))
(assert (! (not (<= y3 (* 2.0 x3))) :named violation))
(check-sat)
(get-interpolants start round1 round2 round3 violation)

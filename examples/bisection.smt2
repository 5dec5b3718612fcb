; Bisection keeps its interval in order.
;
;     lo := 0; hi := width            requires width >= 0
;     while (*) {
;       mid := (lo + hi) / 2
;       if (too_small(mid)) lo := mid else hi := mid
;     }
;     assert lo <= hi
;
; One path: the lower end moves twice, then the upper end. The interpolants say after each
; step what the next one needs to know; that the interval started at 0 and how wide it was
; is forgotten at once.
(set-logic QF_LRA)
(set-option :produce-interpolants true)
(declare-fun width () Real)
(declare-fun lo0 () Real) (declare-fun hi0 () Real)
(declare-fun lo1 () Real) (declare-fun hi1 () Real) (declare-fun mid1 () Real)
(declare-fun lo2 () Real) (declare-fun hi2 () Real) (declare-fun mid2 () Real)
(declare-fun lo3 () Real) (declare-fun hi3 () Real) (declare-fun mid3 () Real)

(assert (! (and (>= width 0.0) (= lo0 0.0) (= hi0 width)) :named start))
(assert (! (and (= mid1 (/ (+ lo0 hi0) 2.0)) (= lo1 mid1) (= hi1 hi0)) :named raise-low))
(assert (! (and (= mid2 (/ (+ lo1 hi1) 2.0)) (= lo2 mid2) (= hi2 hi1)) :named raise-again))
(assert (! (and (= mid3 (/ (+ lo2 hi2) 2.0)) (= lo3 lo2) (= hi3 mid3)) :named drop-high))
(assert (! (> lo3 hi3) :named violation))
(check-sat)
(get-interpolants start raise-low raise-again drop-high violation)

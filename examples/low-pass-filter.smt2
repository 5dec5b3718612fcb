; A digital low-pass filter with rounding errors.
;
;     y[n+1] = 0.9*y[n] + 0.1*u[n] + e[n]       |u| <= 1, |e| <= 0.001
;
; The data sheet promises an output of at most 1.01 in size. From y[0] = 0, four samples
; do not exceed it; the hope is for a bound that no number of samples exceeds. The
; interpolants are bounds on the output after each sample. All are y <= 1.01: the promise is
; an invariant of the filter, from above, however long it runs.
(set-logic QF_LRA)
(set-option :produce-interpolants true)
(define-fun largest-input () Real 1.0)
(define-fun rounding () Real 0.001)
(declare-fun y0 () Real)
(declare-fun u0 () Real) (declare-fun e0 () Real) (declare-fun y1 () Real)
(declare-fun u1 () Real) (declare-fun e1 () Real) (declare-fun y2 () Real)
(declare-fun u2 () Real) (declare-fun e2 () Real) (declare-fun y3 () Real)
(declare-fun u3 () Real) (declare-fun e3 () Real) (declare-fun y4 () Real)

(assert (! (= y0 0.0) :named silence))
(assert (! (and (<= (- largest-input) u0) (<= u0 largest-input)
                (<= (- rounding) e0) (<= e0 rounding)
                (= y1 (+ (* 0.9 y0) (* 0.1 u0) e0))) :named sample1))
(assert (! (and (<= (- largest-input) u1) (<= u1 largest-input)
                (<= (- rounding) e1) (<= e1 rounding)
                (= y2 (+ (* 0.9 y1) (* 0.1 u1) e1))) :named sample2))
(assert (! (and (<= (- largest-input) u2) (<= u2 largest-input)
                (<= (- rounding) e2) (<= e2 rounding)
                (= y3 (+ (* 0.9 y2) (* 0.1 u2) e2))) :named sample3))
(assert (! (and (<= (- largest-input) u3) (<= u3 largest-input)
                (<= (- rounding) e3) (<= e3 rounding)
                (= y4 (+ (* 0.9 y3) (* 0.1 u3) e3))) :named sample4))
(assert (! (> y4 1.01) :named overflow))
(check-sat)
(get-interpolants silence sample1 sample2 sample3 sample4 overflow)

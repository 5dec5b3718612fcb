; Summaries of procedures, from one failed attempt to break the program.
;
;     clamp(v):   returns c with v - 1 <= c <= v + 1 and 0 <= c
;     scale(w):   returns s = 3/2*w + 1
;     main:       p >= 2; c := clamp(p); s := scale(c); assert s >= 5/2
;
; The callees are the leaves of a tree and main is its root. One interpolant for each
; callee, over its parameter and its result only: a summary that is true of its body and
; enough for main. The two come from one proof and fit together.
(set-logic QF_LRA)
(set-option :produce-interpolants true)
(declare-fun p () Real)
(declare-fun c () Real)
(declare-fun s () Real)
(declare-fun low () Real)
(declare-fun high () Real)
(declare-fun half () Real)

(assert (! (and (= low (- p 1.0)) (= high (+ p 1.0)) (<= low c) (<= c high) (>= c 0.0))
           :named clamp))
(assert (! (and (= (* 2.0 half) c) (= s (+ (* 3.0 half) 1.0))) :named scale))
(assert (! (and (>= p 2.0) (< s (/ 5.0 2.0))) :named main))
(check-sat)
(get-interpolants clamp (scale) main)

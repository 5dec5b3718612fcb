; No point of the grid is in both corners; integers.svg shows the proof, by a cut and a
; branch. There are such points with fractions: (0.4, -0.9).
(set-logic QF_LIA)
(declare-fun x () Int)
(declare-fun y () Int)
(assert (! (and (<= (+ y 2) (* 3 x)) (<= (* 2 x) (+ (* 3 y) 4))) :named east))
(assert (! (and (<= (+ (* 3 x) y) 1) (<= (- 3) (+ (* 2 x) (* 2 y)))) :named west))
(check-sat)
(get-interpolants east west)

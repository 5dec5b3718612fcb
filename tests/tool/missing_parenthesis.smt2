; EXIT: 1
(declare-const x Real)
(assert (< x 1))
(check-sat)
(assert (and (< x 1)
  (> x 2))
(check-sat)

; ARGS: --raw --mode sum
(declare-const x Real)
(assert (! (<= (* 2 x) 4) :named a))
(assert (! (> x 3) :named b))
(check-sat)
(get-interpolants a b)

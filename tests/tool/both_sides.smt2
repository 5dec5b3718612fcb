; The same formula in two groups is two assertions, each with a side of its own.
(declare-const x Real) (declare-const y Real) (declare-const z Real)
(assert (! (and (<= x y) (<= z x)) :named a)) (assert (! (and (<= x y) (< y z)) :named b))
(check-sat) (get-interpolants a b) (get-interpolants b a)
(reset) (declare-const x Real) (assert (! (< x 0) :named a)) (assert (! (< x 0) :named b))
(assert (! (not (< x 0)) :named c)) (check-sat)
(get-interpolants a b c) (get-interpolants a c b)
(get-interpolants c (and a b)) (get-interpolants (and a c) b)

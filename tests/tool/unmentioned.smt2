; ARGS: --on-error continue
; EXIT: 1
; What no group mentions belongs to every group, or to the last one, or is refused.
(declare-const x Real) (declare-const y Real) (declare-const z Real) (assert (= y (+ x 1)))
(assert (! (<= x 0) :named a)) (assert (! (>= y z) :named b)) (assert (! (>= z 3) :named c))
(check-sat) (get-interpolants a (and b c))
(set-option :opal-unmentioned B) (get-interpolants a (and b c))
(get-interpolants a b)
(set-option :opal-unmentioned error) (get-interpolants a (and b c))
(set-option :opal-unmentioned background) (get-interpolants a b)
(get-interpolants b c)

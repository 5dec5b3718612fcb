; ARGS: --on-error continue
; EXIT: 1
(set-logic QF_LRA) (declare-const x Real)
(assert (! (and (! (< x 1) :named inner) (< x 5)) :named a)) (assert (! (> x 2) :named b))
(get-interpolants a b) (check-sat) (get-interpolants a c)
(get-interpolants a inner b) (get-interpolants a a)
(get-interpolants a (and b a)) (get-interpolants a)
(get-interpolants a b ()) (get-interpolants a (and))
(get-interpolants a (b)) (get-interpolants a (and b (and a)))
(get-interpolants a 3)
(set-option :opal-mode dual) (assert (! (> x 7) :named d)) (get-interpolants a b)
(check-sat) (get-interpolants a (b) d) (get-interpolants a (and b d))

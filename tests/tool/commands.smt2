; ARGS: --on-error continue
; EXIT: 1
(set-logic QF_UFLRA)
(set-logic QF_RDL)
(set-logic QF_LRA) (check-sat now) (check) (get-model) (get-value (x)) (get-unsat-core)
(get-interpolants a b) (get-info :reason-unknown)
(pop) (push 2) (pop 3) (push 99999999999999999999) (get-info :assertion-stack-levels)
(set-option print-success true) (set-option :print-success maybe)
(set-option :no-such-option 1) (get-option :no-such-option)
(set-option :opal-mode most) (echo unquoted) (reset-assertions)
(declare-const x Real) (push) (assert (< x 1) (< x 2)) (pop)
(check-sat) (get-value ()) (get-unsat-core)
(exit) (echo "never reached")

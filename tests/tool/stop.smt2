; EXIT: 1
; In a file the first error is the last answer.
(get-info :error-behavior) (get-option :opal-on-error)
(declare-const x Real) (assert (or (< x 1) (> (* x x) 2))) (check-sat)

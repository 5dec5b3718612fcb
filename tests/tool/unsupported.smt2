; ARGS: --on-error continue
; EXIT: 1
; What is not supported is told with its place, and asserts nothing.
(declare-const x Real) (declare-const y Real) (declare-const b Bool)
(assert (and (< x 1)
             (or b (> (* x y) 3))))
(assert (< (* x y) 1)) (assert (< (/ x y) 1)) (assert (< (ite b x 1) (* x (ite b 1 y))))
(assert (< (/ x 0) 1)) (assert (< (/ 1 (- 2 2.0)) 1))
(assert (< (div (to_int x) (to_int y)) 1)) (assert ((_ divisible 0) 6))
(assert (exists ((z Real)) (< z x))) (assert (< x (ite b 1 true)))
(assert (or b (< 12345678901234567890123456789012345678901234567890123456789012345678901234567890 (* x y))))
(define-sort S () Real) (check-sat-assuming ((or b (> (* y y) 2)))) (get-assertions) (check-sat)

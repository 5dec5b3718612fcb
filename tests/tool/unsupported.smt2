; ARGS: --on-error continue
; EXIT: 1
; What is not supported is told with its place, and asserts nothing.
(declare-const x Real) (declare-const y Real) (declare-const b Bool)
(assert (and (< x 1)
             (or (< x 2) (> y 3))))
(assert (not (and (< x 1) (< y 1)))) (assert (= (< x 1) (< y 1))) (assert (not (= x y 3)))
(assert b) (assert (< x (ite b 1 2))) (assert (< (* x y) 1)) (assert (< (/ x y) 1))
(assert (< (/ x 0) 1)) (assert (< (/ 1 (- 2 2.0)) 1))
(assert (< (div (to_int x) (to_int y)) 1)) (assert ((_ divisible 0) 6))
(assert (< (abs (to_int x)) 1)) (assert (exists ((z Real)) (< z x)))
(assert (or (< x 1) (< 12345678901234567890123456789012345678901234567890123456789012345678901234567890 x)))
(define-sort S () Real) (check-sat-assuming ((or (< x 1) (> y 2)))) (get-assertions) (check-sat)

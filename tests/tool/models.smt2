; ARGS: --on-error continue
; EXIT: 1
(set-logic QF_LRA) (declare-const x Real) (declare-fun |y z| () Real)
(declare-const free Real) (declare-const b Bool) (define-fun half () Real (/ 1 2))
(assert (! (= x (- half)) :named first)) (assert (= |y z| (/ x 10000000000000000000000)))
(assert (! (< (! (+ x 1) :named sum) 1) :named second)) (check-sat) (get-model)
(get-value (x |y z| free b (< x 0) sum first (- x) half)) (get-assignment)
(get-value (nothing)) (get-value ((let ((t (* 2 x))) (+ t 1)) (ite true x 1)))
(push) (assert (> x 0)) (check-sat) (get-model)
(pop) (get-model) (check-sat) (get-value (x))

; ARGS: --on-error continue
; EXIT: 1
(set-logic QF_LRA) (declare-fun x () Real) (push) (declare-fun x () Real) (assert (< y 1))
(assert (f x))
(declare-fun g (Real) Real) (declare-fun i () Int) (declare-fun a () (Array Real Real))
(declare-const let Real) (declare-const + Real) (declare-const 3 Real) (pop)
(define-fun double ((x Real)) Real (* 2 x)) ; the parameter hides the constant
(define-fun scaled ((a Real) (b Real)) Real (* a b)) ; linear when applied so
(define-fun between ((a Real) (b Real) (c Real)) Bool (< a b c))
(define-fun twice ((a Real) (a Real)) Real a) (define-const three Real 3.0)
(define-fun-rec r ((a Real)) Real (r a))
(push) (assert (= (scaled three x) (double 6)))
(assert (between 3 x (scaled (double 2) (double three)))) (check-sat)
(get-value (x (double x) (scaled 2 (scaled x 3)) (between x three 5))) (get-assertions)
(pop) (push) (assert (< (scaled x x) 1)) (pop)
; Bindings are parallel, and end with the body.
(assert (let ((x (+ x 1)) (z x)) (let ((z (+ z z)) (x z)) (= (+ x z) 9))))
(push) (assert (let ((x 1) (x 2)) (< x 3))) (assert (let ((x)) true)) (assert (< z 1))
(assert (< x -1)) (pop) (check-sat) (get-value (x))

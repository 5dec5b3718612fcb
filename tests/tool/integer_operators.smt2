; Integer division rounds so that remainders are not negative.
(set-logic QF_LIRA) (set-option :opal-unmentioned B) (declare-const x Int)
(declare-const y Int) (declare-const r Real)
; No value of x makes these true.
(check-sat-assuming ((< (mod x 5) 0)))
(check-sat-assuming ((distinct x (+ (* (- 7) (div x (- 7))) (mod x (- 7))))))
(check-sat-assuming ((>= (- r (to_int r)) 1)))
(check-sat-assuming ((is_int r) (distinct (to_int r) r)))
(check-sat-assuming (((_ divisible 4) x) (distinct (mod x 4) 0)))
(check-sat-assuming ((= (mod x 4) 0) (not ((_ divisible 4) x))))
; These have one solution each.
(check-sat-assuming ((= (div x (- 3)) (- 4)) (= (mod x (- 3)) 2)))
(get-value (x (div x (- 3)) (mod x (- 3)) (div x 3) (div (- x) 3) (mod (- x) 3) (div x 2 (- 2))))
(check-sat-assuming ((= (to_int r) (- 2)) (= (* 4 r) (- 5))))
(get-value (r (to_int r) (to_int (- r)) (is_int r) (is_int (* 4 r)) (div (to_int r) 2)))
(check-sat-assuming (((_ divisible 6) x) (< 0 x 12) (= y (abs (- 4)))))
(get-value (x y ((_ divisible 6) x) ((_ divisible 4) x) (div y 3) (mod (mod x 4) 3)))
; The interpolant of terms with floors is over shared symbols.
(assert (! (= x (* 2 (div x 2))) :named even)) (assert (! (= (mod x 2) 1) :named odd))
(check-sat) (get-unsat-core)

; A thermostat as a hybrid automaton, three switches long.
;
; Off, a room loses between 1 and 2 degrees an hour; on, it gains between 3 and 4. The
; heating goes on at 18 degrees or below, and stays in either mode for at most the time
; that its timer allows. From 20 degrees: off for at most 1 hour, on for at most half an
; hour, off again for at most 1 hour. Could it get colder than 16?
;
; temp1 and t1 are the temperature and the time of the first switch, and so on. The
; sequence of interpolants bounds the temperature at each switch, just tightly enough.
(set-logic QF_LRA)
(set-option :produce-interpolants true)
(declare-fun t0 () Real) (declare-fun temp0 () Real)
(declare-fun t1 () Real) (declare-fun temp1 () Real)
(declare-fun t2 () Real) (declare-fun temp2 () Real)
(declare-fun t3 () Real) (declare-fun temp3 () Real)

(assert (! (and (= t0 0.0) (= temp0 20.0)) :named start))
(assert (! (and (>= t1 t0) (<= (- t1 t0) 1.0)
                (<= temp1 (- temp0 (* 1.0 (- t1 t0))))
                (>= temp1 (- temp0 (* 2.0 (- t1 t0)))))
           :named cooling))
(assert (! (and (<= temp1 18.0)
                (>= t2 t1) (<= (- t2 t1) 0.5)
                (<= temp2 (+ temp1 (* 4.0 (- t2 t1))))
                (>= temp2 (+ temp1 (* 3.0 (- t2 t1)))))
           :named heating))
(assert (! (and (>= t3 t2) (<= (- t3 t2) 1.0)
                (<= temp3 (- temp2 (* 1.0 (- t3 t2))))
                (>= temp3 (- temp2 (* 2.0 (- t3 t2)))))
           :named cooling-again))
(assert (! (< temp3 16.0) :named too-cold))
(check-sat)
(get-interpolants start cooling heating cooling-again too-cold)

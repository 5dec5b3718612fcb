; Four jobs on two machines, whoever goes first.
;
; Jobs 1 and 2 take 3 and 4 hours on machine one, jobs 3 and 4 take 5 and 2 on machine two. A
; machine does one job at a time, in whichever order suits: that is the `or`. Job 3 puts
; together what jobs 1 and 2 have made. The material for job 4 comes 6 hours after the shop
; opens. Somebody has promised that all is ready at hour 12.
;
; There are four schedules, and an interpolant speaks of all of them at once. What machine
; one says of itself: job 3 cannot start before hour 7, in either order. What machine two
; would need: a start at hour 5 or before. In the sequence the first interpolant keeps both
; orders apart, by what each says of the job that goes second; then they no longer matter.
(set-logic QF_RDL)
(set-option :produce-interpolants true)
(declare-fun open () Real) (declare-fun ready () Real)
(declare-fun job1 () Real) (declare-fun job2 () Real)       ; when they start
(declare-fun job3 () Real) (declare-fun job4 () Real)

(assert (! (and (>= (- job1 open) 0) (>= (- job2 open) 0)
                (or (>= (- job2 job1) 3) (>= (- job1 job2) 4)))
           :named machine-one))
(assert (! (and (>= (- job3 job1) 3) (>= (- job3 job2) 4)) :named parts))
(assert (! (and (>= (- job4 open) 6)
                (or (>= (- job4 job3) 5) (>= (- job3 job4) 2))
                (>= (- ready job3) 5) (>= (- ready job4) 2))
           :named machine-two))
(assert (! (<= (- ready open) 12) :named promise))
(check-sat)
(get-interpolants (and machine-one parts) (and machine-two promise))
(get-interpolants (and machine-two promise) (and machine-one parts))
(get-interpolants machine-one parts machine-two promise)

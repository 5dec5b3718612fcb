; A job shop that promises too much.
;
; Three orders go through a lathe and then through the paint shop; s-l-1 is when order 1
; starts on the lathe, s-p-1 when it starts to be painted. Turning takes 4, 3 and 5 hours,
; painting 2, 4 and 3. The lathe works in the sequence 2, 1, 3, the paint shop from light to
; dark: 3, 1, 2. All is to be ready 20 hours into the shift.
;
; Each shop's plan is feasible by itself. Interpolants between the lathe and the rest, in
; both directions: what the lathe forces on the paint shop (no painting of order 3 before
; hour 12), and what the paint shop would need from the lathe.
(set-logic QF_RDL)
(set-option :produce-interpolants true)
(declare-fun shift () Real)
(declare-fun s-l-1 () Real) (declare-fun s-l-2 () Real) (declare-fun s-l-3 () Real)
(declare-fun s-p-1 () Real) (declare-fun s-p-2 () Real) (declare-fun s-p-3 () Real)

(assert (! (and (>= (- s-l-2 shift) 0)       ; the lathe: order 2, then 1, then 3
                (>= (- s-l-1 s-l-2) 3)
                (>= (- s-l-3 s-l-1) 4)
                (>= (- s-p-1 s-l-1) 4)       ; turned before painted
                (>= (- s-p-2 s-l-2) 3)
                (>= (- s-p-3 s-l-3) 5))
           :named lathe))
(assert (! (and (>= (- s-p-1 s-p-3) 3)       ; the paint shop: order 3, then 1, then 2
                (>= (- s-p-2 s-p-1) 2))
           :named paint))
(assert (! (and (<= (- s-p-1 shift) 18) (<= (- s-p-2 shift) 16) (<= (- s-p-3 shift) 17))
           :named deadline))
(check-sat)
(get-unsat-core)
(get-interpolants lathe (and paint deadline))
(get-interpolants (and paint deadline) lathe)

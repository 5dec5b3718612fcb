; The example of README.md, of which workshop.svg shows the proof.
(set-logic QF_RDL)
(declare-fun start () Real)   ; of the shift
(declare-fun turn () Real)    ; when the lathe starts on the order
(declare-fun paint () Real)   ; when it comes to be painted
(declare-fun leave () Real)   ; when it leaves
(assert (! (and (>= (- turn start) 7) (>= (- paint turn) 5)) :named lathe))
(assert (! (>= (- leave paint) 9) :named painters))
(assert (! (<= (- leave start) 20) :named promise))
(check-sat)
(get-interpolants lathe (and painters promise))

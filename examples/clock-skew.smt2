; Four servers, their clocks, and an order of events that cannot have been.
;
; A message is read after it was sent; the log gives the local times of both, so each
; message bounds how far two clocks are apart (in milliseconds; east is the reading of that
; clock at one fixed instant). The bounds of both data centres are consistent on their own.
; Together they form a negative cycle: somebody's log is wrong.
;
; The interpolant is all that the eastern logs say about the two clocks at the border, and
; what the western logs contradict. Asked in conj mode too: then it may keep several facts
; apart instead of adding them up.
(set-logic QF_RDL)
(set-option :produce-interpolants true)
(declare-fun east-1 () Real) (declare-fun east-2 () Real)
(declare-fun border-a () Real) (declare-fun border-b () Real)
(declare-fun west-1 () Real) (declare-fun west-2 () Real)

(assert (! (<= (- border-a east-1) 12) :named e1))
(assert (! (<= (- east-1 east-2) (- 20)) :named e2))
(assert (! (<= (- east-2 border-b) 3) :named e3))
(assert (! (<= (- east-1 border-a) 40) :named e4))
(assert (! (<= (- border-b west-1) (- 2)) :named w1))
(assert (! (< (- west-1 west-2) 5) :named w2))
(assert (! (<= (- west-2 border-a) 2) :named w3))
(assert (! (<= (- west-2 west-1) 30) :named w4))
(check-sat)
(get-unsat-core)
(get-interpolants (and e1 e2 e3 e4) (and w1 w2 w3 w4))
(set-option :opal-mode conj)
(get-interpolants (and e1 e2 e3 e4) (and w1 w2 w3 w4))

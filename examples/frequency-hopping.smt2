; Two radios that hop between frequencies, and meet on one.
;
; Both compute the frequency of a moment as hop(moment), a function that neither publishes.
; A message gets through if hop(send) = hop(listen), so the moments have to be the same. The
; network announces a beacon, the length of a slot, and a deadline.
;
;     transmitter   sends in the third slot or later, and before the deadline less a guard
;     receiver      listens from the deadline less the guard on, third slot at the latest
;
; Neither side fixes its moment: only together do the bounds leave no room. The shared term
; says when they meet in words that both sides know, so that a reasoner about functions can
; go on with hop(send) = hop(t) on one side and hop(t) = hop(listen) on the other.
;
; The acknowledgement comes back after half a slot; its moments are equal as well.
(set-logic QF_LRA)
(declare-fun beacon () Real) (declare-fun slot () Real)
(declare-fun deadline () Real) (declare-fun guard () Real)
(declare-fun send () Real) (declare-fun queue () Real) (declare-fun reply () Real)
(declare-fun listen () Real) (declare-fun wakeup () Real) (declare-fun answer () Real)

(assert (! (and (> slot 0.0) (>= guard (/ slot 10.0))) :named network))
(assert (! (and (>= queue (+ beacon (* 2.0 slot))) (>= send (+ queue slot))) :named slots))
(assert (! (<= send (- deadline guard)) :named margin))
(assert (! (= (- reply send) (/ slot 2.0)) :named turnaround))
(assert (! (and (>= wakeup (- deadline guard)) (>= listen wakeup)) :named awake))
(assert (! (<= (- listen (* 3.0 slot)) beacon) :named patience))
(assert (! (= (* 2.0 answer) (+ listen listen slot)) :named acknowledge))
(check-sat)
(get-shared-term (and slots margin turnaround) (and awake patience acknowledge) send listen)
(get-shared-term (and slots margin turnaround) (and awake patience acknowledge) reply answer)

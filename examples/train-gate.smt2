; A level crossing as timed automata: the train, the controller and the gate.
;
; The train announces itself and enters the crossing 5 to 8 minutes later. The controller
; gives its signal within 1 minute of the announcement, the gate is down within 2 minutes
; of the signal. Can the train enter while the gate is still open? The clocks of the three
; automata become points in time, their guards and invariants become differences.
;
; The interpolants are contracts between the parts: what the controller promises to the
; gate (the signal is at most 1 minute late), and what both promise to the train (the gate
; is down at most 3 minutes after the announcement).
(set-logic QF_RDL)
(set-option :produce-interpolants true)
(declare-fun announced () Real)
(declare-fun signalled () Real)
(declare-fun gate-moving () Real)
(declare-fun gate-down () Real)
(declare-fun entered () Real)

(assert (! (and (>= (- signalled announced) 0) (<= (- signalled announced) 1))
           :named controller))
(assert (! (and (>= (- gate-moving signalled) 0) (<= (- gate-moving signalled) 1)
                (> (- gate-down gate-moving) 0) (<= (- gate-down gate-moving) 1))
           :named gate))
(assert (! (and (>= (- entered announced) 5) (<= (- entered announced) 8)
                (< (- entered gate-down) 0))
           :named train))
(check-sat)
(get-interpolants controller gate train)

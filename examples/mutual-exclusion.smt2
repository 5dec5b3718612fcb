; Two processes share a printer by Peterson's protocol.
;
;     left:   ask:   asks-l := true; turn := right
;             enter: wait until not asks-r or turn = left; print
;             leave: asks-l := false
;
; and the right process alike. turn-l says that it is the left one's turn, prints-l that it
; prints. The left process is printing while the right one is at rest. In each of the next
; three steps the right one does whatever its protocol allows it, or nothing. Can both end
; up printing?
;
; The interpolants are the protocol's proof: the right process may have asked, but then it
; has given the turn to the left one, so that it waits. What the first step leaves behind the
; second one leaves too, under renaming. All is Boolean, which every logic has.
(set-logic QF_LRA)
(set-option :produce-interpolants true)
(declare-fun asks-l () Bool)
(declare-fun turn-l0 () Bool) (declare-fun asks-r0 () Bool) (declare-fun prints-r0 () Bool)
(declare-fun turn-l1 () Bool) (declare-fun asks-r1 () Bool) (declare-fun prints-r1 () Bool)
(declare-fun turn-l2 () Bool) (declare-fun asks-r2 () Bool) (declare-fun prints-r2 () Bool)
(declare-fun turn-l3 () Bool) (declare-fun asks-r3 () Bool) (declare-fun prints-r3 () Bool)
(define-fun step ((turn-l Bool) (asks-r Bool) (prints-r Bool)
                  (turn-l+ Bool) (asks-r+ Bool) (prints-r+ Bool)) Bool
  (or (and (not asks-r) asks-r+ turn-l+ (= prints-r+ prints-r))
      (and asks-r (or (not asks-l) (not turn-l)) prints-r+ asks-r+ (= turn-l+ turn-l))
      (and prints-r (not prints-r+) (not asks-r+) (= turn-l+ turn-l))
      (and (= turn-l+ turn-l) (= asks-r+ asks-r) (= prints-r+ prints-r))))

(assert (! (and asks-l (not asks-r0) (not prints-r0)) :named left-prints))
(assert (! (step turn-l0 asks-r0 prints-r0 turn-l1 asks-r1 prints-r1) :named first))
(assert (! (step turn-l1 asks-r1 prints-r1 turn-l2 asks-r2 prints-r2) :named second))
(assert (! (step turn-l2 asks-r2 prints-r2 turn-l3 asks-r3 prints-r3) :named third))
(assert (! prints-r3 :named both-print))
(check-sat)
(get-interpolants left-prints first second third both-print)

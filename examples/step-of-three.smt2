; A loop that reads triples and stops exactly at the end.
;
;     i := 3*skipped                  the buffer holds n = 3*triples words
;     while (i < n) { read words i, i+1, i+2; i := i + 3 }
;     assert i <= n
;
; Three rounds of the loop, and then a counter beyond the end. Over the rationals that can
; happen: i = n - 1, one more round, i = n + 2. Over the integers the interpolants find the
; invariant that a person would write down, though only its consequence is asserted: i and n
; leave the same remainder modulo 3. The last one says what the violated assertion denies.
(set-logic QF_LIA)
(set-option :produce-interpolants true)
(declare-fun n () Int)
(declare-fun triples () Int)
(declare-fun skipped () Int)
(declare-fun i0 () Int)
(declare-fun i1 () Int)
(declare-fun i2 () Int)
(declare-fun i3 () Int)

(assert (! (and (= n (* 3 triples)) (>= skipped 0) (= i0 (* 3 skipped))) :named start))
(assert (! (and (< i0 n) (= i1 (+ i0 3))) :named round1))
(assert (! (and (< i1 n) (= i2 (+ i1 3))) :named round2))
(assert (! (and (< i2 n) (= i3 (+ i2 3))) :named round3))
(assert (! (not (<= i3 n)) :named violation))
(check-sat)
(get-interpolants start round1 round2 round3 violation)

; Coins of 6, 10 and 15 cannot pay 29.
;
; Any two of the three values have a common divisor, all three have none: every amount from
; 30 on can be paid, and 29 cannot. Alice has the coins of 6 and 10, Bob those of 15, and
; Alice's part is all that either needs to know of the other. Over the rationals half a coin
; would do; here cuts and branches are needed, since no divisor alone decides it: 14 is as
; even as any amount that Alice can pay.
;
; The interpolant is what Bob needs to know of Alice's purse; the other way round, what Alice
; needs to know of his. As a sequence of three, the second interpolant speaks of the price
; alone: what both together cannot pay. Then two larger bills, of which one is paid.
(set-logic QF_LIA)
(set-option :produce-interpolants true)
(set-option :produce-models true)
(declare-fun sixes () Int)
(declare-fun tens () Int)
(declare-fun fifteens () Int)
(declare-fun part () Int)
(declare-fun price () Int)

(assert (! (and (>= sixes 0) (>= tens 0) (= part (+ (* 6 sixes) (* 10 tens)))) :named alice))
(assert (! (and (>= fifteens 0) (= (+ part (* 15 fifteens)) price)) :named bob))
(push 1)
(assert (! (= price 29) :named bill))
(check-sat)
(get-interpolants alice (and bob bill))
(get-interpolants (and bob bill) alice)
(get-interpolants alice bob bill)
(pop 1)
(push 1)
(assert (! (and (<= 31 price) (<= price 32) (> fifteens 0)) :named larger-bill))
(check-sat)
(get-value (sixes tens fifteens price))
(pop 1)

; A fund's risk desk against its trading desk.
;
; Shares of the fund in bonds, shares, property and cash add up to 1. The risk desk limits
; each by itself, and the weighted loss of a bad year. The trading desk wants a yearly
; return of 6 percent and no cash above 5 percent. The law (unnamed, so known to both)
; forbids short positions. The interpolant is the risk desk's rules as far as they concern
; the return, and nothing else.
;
; Then the trading desk relents: with a return of 4.5 percent there is a portfolio, and the
; model shows one.
(set-logic QF_LRA)
(set-option :produce-interpolants true)
(set-option :produce-models true)
(declare-fun bonds () Real)
(declare-fun shares () Real)
(declare-fun property () Real)
(declare-fun cash () Real)
(declare-fun loss () Real)

(assert (and (>= bonds 0.0) (>= shares 0.0) (>= property 0.0) (>= cash 0.0)))
(assert (= (+ bonds shares property cash) 1.0))

(assert (! (and (= loss (+ (* 0.05 bonds) (* 0.4 shares) (* 0.2 property)))
                (<= loss 0.18) (<= shares 0.5) (<= property 0.3))
           :named risk))
(push 1)
(assert (! (and (>= (+ (* 0.03 bonds) (* 0.08 shares) (* 0.05 property) (* 0.01 cash)) 0.06)
                (<= cash 0.05))
           :named trading))
(check-sat)
(get-interpolants risk trading)
(pop 1)
(assert (! (and (>= (+ (* 0.03 bonds) (* 0.08 shares) (* 0.05 property) (* 0.01 cash)) 0.045)
                (<= cash 0.05))
           :named modest))
(check-sat)
(get-value (bonds shares property cash loss))

; Servers are rented whole.
;
; The catalogue: a large server has 8 cores and costs 7 an hour, a small one has 5 cores and
; costs 4. The project needs 27 cores and has 22 an hour to spend. Fractions of small servers
; would do for 21.6; whole servers cost 23 at least, so a solver has to cut or to branch.
;
; The interpolant is over cores and cost only: what the price list rules out, without a word
; of how many servers of which kind. Asked in both cut styles: in congruences where that is
; short, in rounded-down quotients where it is not. Then the split in three: price list,
; demand, budget. What the first two leave to the third is the least cost of whole servers.
(set-logic QF_LIA)
(set-option :produce-interpolants true)
(declare-fun large () Int)
(declare-fun small () Int)
(declare-fun cores () Int)
(declare-fun cost () Int)

(assert (! (and (>= large 0) (>= small 0)
                (= cores (+ (* 8 large) (* 5 small)))
                (= cost (+ (* 7 large) (* 4 small))))
           :named catalogue))
(assert (! (>= cores 27) :named demand))
(assert (! (<= cost 22) :named budget))
(check-sat)
(set-option :opal-cuts modular)
(get-interpolants catalogue (and demand budget))
(set-option :opal-cuts floor)
(get-interpolants catalogue (and demand budget))
(set-option :opal-cuts auto)
(get-interpolants catalogue demand budget)

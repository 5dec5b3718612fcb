; A loop with a branch: work is taken from a queue, done, and put into one of two bins.
;
;     left := 20; good := 0; scrap := 0
;     while (*) {
;       if (is_good()) good := good + 1 else scrap := scrap + 1
;       left := left - 1
;     }
;     assert good + scrap + left <= 20
;
; Two rounds in static single assignment form; what the test answered in a round is a
; Boolean, and each counter is an ite of it. There are four paths through the rounds, and
; one refutation for all of them: the interpolants after start, first and second are one
; formula under renaming, the invariant of the loop, and do not know which way was taken.
(set-logic QF_LIA)
(set-option :produce-interpolants true)
(declare-fun left0 () Int) (declare-fun good0 () Int) (declare-fun scrap0 () Int)
(declare-fun left1 () Int) (declare-fun good1 () Int) (declare-fun scrap1 () Int)
(declare-fun left2 () Int) (declare-fun good2 () Int) (declare-fun scrap2 () Int)
(declare-fun is-good1 () Bool) (declare-fun is-good2 () Bool)

(assert (! (and (= left0 20) (= good0 0) (= scrap0 0)) :named start))
(assert (! (and (= good1 (ite is-good1 (+ good0 1) good0))
                (= scrap1 (ite is-good1 scrap0 (+ scrap0 1)))
                (= left1 (- left0 1)))
           :named first))
(assert (! (and (= good2 (ite is-good2 (+ good1 1) good1))
                (= scrap2 (ite is-good2 scrap1 (+ scrap1 1)))
                (= left2 (- left1 1)))
           :named second))
(assert (! (> (+ good2 scrap2 left2) 20) :named violation))
(check-sat)
(get-interpolants start first second violation)

; A feed mill blends maize, soya meal and barley, by the tonne.
;
; The animals' side: 100 tonnes, at least 18% protein, at most 5.5% fibre, at least 2.9
; units of energy. The buyer's side: 205, 410 and 190 a tonne, and a budget of 24500. No
; blend does it all. The interpolant is what the nutritionist should tell the buyer: a
; price line through the blend that the recipe cannot get below, with no word of protein,
; fibre or energy.
(set-logic QF_LRA)
(set-option :produce-interpolants true)
(declare-fun maize () Real)
(declare-fun soya () Real)
(declare-fun barley () Real)
(declare-fun protein () Real)
(declare-fun fibre () Real)
(declare-fun energy () Real)
(declare-fun cost () Real)

(assert (! (and (>= maize 0.0) (>= soya 0.0) (>= barley 0.0)
                (= (+ maize soya barley) 100.0)
                (= protein (+ (* 8.5 maize) (* 44.0 soya) (* 11.5 barley)))
                (= fibre (+ (* 2.2 maize) (* 7.0 soya) (* 5.0 barley)))
                (= energy (+ (* 3.4 maize) (* 2.3 soya) (* 2.8 barley)))
                (>= protein 1800.0)
                (<= fibre 550.0)
                (>= energy 290.0))
           :named recipe))
(assert (! (and (= cost (+ (* 205.0 maize) (* 410.0 soya) (* 190.0 barley)))
                (<= cost 24500.0))
           :named budget))
(check-sat)
(get-interpolants recipe budget)

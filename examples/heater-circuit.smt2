; A circuit with numbers: two sensors, a multiplexer, and a threshold.
;
; The valve of a boiler opens above 90 degrees. Two sensors may each be off by 2 degrees; a
; wire that says which one is trusted drives the multiplexer (the ite) that feeds the
; comparator, and a wire `test` opens the valve by hand. The burner's circuit lights the
; burner only while the valve is shut and below 85 degrees by the mean of both sensors.
; Could the boiler be hotter than 92 degrees with the valve shut?
(set-logic QF_LRA)
(set-option :produce-interpolants true)
(declare-fun heat () Real)
(declare-fun left () Real) (declare-fun right () Real)
(declare-fun seen () Real)
(declare-fun trust-left () Bool)
(declare-fun test () Bool) (declare-fun hot () Bool) (declare-fun open () Bool)

(assert (! (and (<= (- 2.0) (- left heat) 2.0) (<= (- 2.0) (- right heat) 2.0)) :named sensors))
(assert (! (= seen (ite trust-left left right)) :named multiplexer))
(assert (! (= hot (> seen 90.0)) :named comparator))
(assert (! (= open (or hot test)) :named gate))
(assert (! (and (not open) (> heat 92.0)) :named explosion))
(check-sat)
(get-interpolants sensors multiplexer comparator gate explosion)
(get-interpolants (and comparator gate) (and sensors multiplexer explosion))
(get-interpolants (and sensors multiplexer) (and comparator gate explosion))

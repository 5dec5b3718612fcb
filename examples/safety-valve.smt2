; A circuit with numbers: two sensors, a multiplexer, a threshold and a gate.
;
; The valve of a boiler opens when a comparator sees more than 90 degrees, or somebody
; presses the button: an or gate. Two sensors are each off by at most 2 degrees, and a wire
; says which one is trusted: a multiplexer, which is an ite. Can the boiler be hotter than 92
; degrees with the valve shut?
;
; The interpolants go through the circuit from left to right, and speak of the wires that are
; cut: after the multiplexer of the number that it hands on, whichever sensor it is from;
; after the comparator of its Boolean wire; after the gate of the valve. What the back half
; tells the front half is a contract too: a shut valve stands for at most 90 degrees seen.
(set-logic QF_LRA)
(set-option :produce-interpolants true)
(declare-fun heat () Real)
(declare-fun left () Real) (declare-fun right () Real) (declare-fun seen () Real)
(declare-fun trust-left () Bool)
(declare-fun hot () Bool) (declare-fun button () Bool) (declare-fun valve () Bool)

(assert (! (and (<= (- 2.0) (- left heat) 2.0) (<= (- 2.0) (- right heat) 2.0)) :named sensors))
(assert (! (= seen (ite trust-left left right)) :named multiplexer))
(assert (! (= hot (> seen 90.0)) :named comparator))
(assert (! (= valve (or hot button)) :named gate))
(assert (! (and (not valve) (> heat 92.0)) :named danger))
(check-sat)
(get-interpolants sensors multiplexer comparator gate danger)
(get-interpolants (and comparator gate) (and sensors multiplexer danger))

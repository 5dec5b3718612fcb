; What --explain and --dump-proof print on standard error is in explain.report.
; ARGS: --explain
(set-logic ALL)
(declare-const x Real) (declare-const y Real) (declare-const z Real)
(declare-const i Int) (declare-const j Int) (declare-const k Int) (declare-const l Int)

; a sequence: names, multipliers, strictness, what is summed away
(push)
(assert (! (and (<= x y) (<= (* 2 y) 7)) :named a))
(assert (! (= z (/ x 3)) :named |b c|))
(assert (! (> z 2) :named d))
(check-sat)
(get-interpolants a |b c| d)
(pop)

; a disequality, and an assertion of every group
(push)
(assert (! (not (= x 3)) :named a))
(assert (<= x y 3))
(assert (! (>= x 3) :named b))
(set-option :opal-dump-proof true)
(check-sat)
(set-option :opal-dump-proof false)
(set-option :opal-mode dual)
(get-interpolants a b)
(set-option :opal-mode auto)
(pop)

; equalities without integer solution: a congruence
(push)
(assert (! (= i (* 2 j)) :named even))
(assert (! (= i (+ 1 (* 2 k))) :named odd))
(set-option :opal-dump-proof true)
(check-sat)
(set-option :opal-dump-proof false)
(get-interpolants even odd)
(pop)

; cuts by congruences
(push)
(assert (! (and (= (+ (* 2 k) (* 5 i)) 5) (<= (- (* (- 2) j) (* 3 k)) 5)) :named a))
(assert (! (and (= (- (* 3 l) (* 2 i)) 9) (<= (* 6 j) (+ 8 (* 2 i))) (<= 0 (+ 1 (* 2 i) (* 4 j))))
           :named b))
(check-sat)
(get-interpolants a b)
(pop)

; sides that are contradictory by themselves
(push)
(assert (! (and (<= 2 (+ (* 4 j) (* 4 k))) (= (+ (* 4 i) (* 3 k)) 2)) :named a))
(assert (! (and (= (+ (* 3 j) (* 6 i)) 2) (= (* 3 l) (* 6 j))) :named b))
(check-sat)
(get-interpolants b a)
(pop)
(push)
(assert (! (and (>= (+ (* 4 j) (* 6 i)) 0) (= (- i (* 3 k)) 2)) :named a))
(assert (! (and (= (+ i (* 3 j)) 3) (<= (* (- 2) l) (+ 3 (* 3 j))) (= (- i (* 5 j)) 6)) :named b))
(check-sat)
(get-interpolants a b)
(pop)

; more than a screen
(declare-const v0 Real) (declare-const v1 Real) (declare-const v2 Real) (declare-const v3 Real)
(declare-const v4 Real) (declare-const v5 Real) (declare-const v6 Real) (declare-const v7 Real)
(declare-const v8 Real) (declare-const v9 Real) (declare-const v10 Real) (declare-const v11 Real)
(declare-const v12 Real) (declare-const v13 Real) (declare-const v14 Real) (declare-const v15 Real)
(assert (! (<= v0 v1 v2 v3 v4 v5 v6 v7 v8 v9 v10 v11 v12 v13 v14 v15) :named ascending))
(assert (! (> v0 v15) :named descending))
(check-sat)
(get-interpolants ascending descending)

; a branch, and cuts by integer division
(reset)
(set-logic QF_LIA)
(declare-const sixes Int) (declare-const tens Int) (declare-const fifteens Int)
(declare-const part Int) (declare-const price Int)
(assert (! (and (>= sixes 0) (>= tens 0) (= part (+ (* 6 sixes) (* 10 tens)))) :named alice))
(assert (! (and (>= fifteens 0) (= (+ part (* 15 fifteens)) price) (= price 29)) :named bob))
(set-option :opal-dump-proof true)
(check-sat)
(set-option :opal-dump-proof false)
(get-interpolants alice bob)

; Symbols, strings, numbers and comments in all their forms.
(set-logic QF_LRA) ; a comment ends ( with ) its " line |
(declare-fun |a b| () Real) (declare-const |let| Real) (declare-const |plain| Real)
(declare-const ~!@$%^&*_-+=<>.?/x1 Real)
(declare-const |two
lines| Real)
(assert (= |a b| 0.50 |let|))
(assert(=|plain|12)) ; no blanks needed
(assert (and (= plain ~!@$%^&*_-+=<>.?/x1) (= |two
lines| (- 1.250))))
(check-sat)
(get-value (|a b| |let| plain |plain| ~!@$%^&*_-+=<>.?/x1 |two
lines| ( + plain
  0.0 ; gone
  1 )))
(get-model)
(echo "a ""quoted"" (string) ; with |bars|")
(echo "")
(set-info :source |a text over
several lines with (parentheses|)
(set-info :status sat) (set-info :nothing)

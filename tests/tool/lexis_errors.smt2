; ARGS: --on-error continue
; EXIT: 1
; What is wrong in a command is told at its place, and the next command is as good as ever.
(declare-const x Real)
(assert (< x 007))
(assert (< x 1.))
(assert (< x 12ab))
(assert (< x #b012))
(assert (< x #xfg))
(assert (< x #b01))
(assert (: x))
(assert (< x '1'))
(echo "ok") ) (echo "still ok")
some rubbish between commands
(assert (< x {)) (echo "on one line")
()
((assert true))
("assert" true)
(assert (! (< x 1) named n))
(assert (! (< x 1) :named))
(assert |(< x\ 1)|)
(check-sat) (reset-assertions) (check-sat)

; EXIT: 1
(echo "closed")
(echo "open)
(check-sat)

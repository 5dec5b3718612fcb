; EXIT: 1
; ARGS: --cuts floor
(set-option :print-success true)
(get-option :opal-cuts)
(set-option :opal-cuts modular)
(get-option :opal-cuts)
(set-option :opal-cuts gomory)
(reset)
(get-option :opal-cuts)
(set-option :opal-cuts auto)
(get-option :opal-cuts)

"""A stand-alone checker for the proofs that `(get-proof)` answers.

It shares no code with the solver that makes them. docs/proofs.md describes their form.

    source    text, tokens, places
    linear    exact linear forms, constraints and their normal form
    formulas  formulas and the literals whose conjunction they are
    reader    terms, formulas and proof steps from S-expressions
    problem   what is asserted at each check of a script
    rules     the rules of inference
    main      the command line
"""

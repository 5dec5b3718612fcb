"""A stand-alone checker for the proofs that `(get-proof)` answers.

It shares no code with the solver that makes them. docs/proofs.md describes their form.

    source    text, tokens, places
    linear    exact linear forms, constraints and their normal form
    formulas  formulas and the literals whose conjunction they are
    reader    terms, formulas and proof steps from S-expressions
    operators SMT-LIB's operators on them
    problem   what is asserted at each check of a script
    rules     the rules of inference, a file for each family
    checker   carries them out on the steps of a proof
    main      the command line
"""

"""What the tests, the measurements and the demo share. Not installed.

    sexpr          S-expressions, and the size of a term
    formulas       SMT-LIB texts of linear formulas, and scripts that decide them
    programs       programs as children, with their time, memory and output
    judges         z3 and cvc5 as judges of formulas and of check files
    interpolation  what must hold of the answer to a query for interpolants
    scripts        scripts, command by command, with what is in force at each
    problems       problems in groups, and the scripts that ask about them
    *_problems     families of random problems

Its folder, python/, has to be on PYTHONPATH, where the Makefile and ctest put it.
"""

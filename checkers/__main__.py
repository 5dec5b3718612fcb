"""Runs the checker of exported proofs: `python3 checkers PROBLEM PROOF`."""

import sys

from opal_check_proof.main import main

sys.exit(main())

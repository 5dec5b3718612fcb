# Thin names for what cmake, ctest and the scripts do. `make` alone runs the demo.
PREFIX ?= /usr/local
N ?= 20000
T ?= 5
S ?= 60
J ?= 2
SINCE ?= HEAD~1
SEED ?=
# Of the scripts in Python.
export PYTHONPATH := $(CURDIR)/python

.PHONY: demo check field bench bench-compare bench-scaling bench-change soak fuzz format lint count coverage docs pictures install deb clean

demo:
	scripts/deps.sh demo
	scripts/build.sh release
	python3 scripts/demo.py build/release/opal examples
	OPAL_LIBRARY=build/release/libopal_capi.so python3 examples/model_checker/main.py

check:
	scripts/deps.sh check
	scripts/check.sh

bench:
	scripts/deps.sh bench
	scripts/build.sh bench
	python3 bench/run.py --build build/bench
	python3 bench/sat.py build/bench/bench_dimacs

# The tool, z3 and cvc5 side by side, family by family, with T seconds a run.
bench-compare:
	scripts/deps.sh bench
	scripts/build.sh release
	python3 bench/compare.py build/release/opal --timeout $(T) --page

# How time and memory grow with the size; up to an hour.
bench-scaling:
	scripts/deps.sh bench
	scripts/build.sh release
	python3 bench/scaling.py build/release/opal --page

# The tool as it was at the commit SINCE and as it is, side by side.
bench-change:
	scripts/deps.sh bench
	scripts/build.sh release
	scripts/build_commit.sh $(SINCE) build/since
	python3 bench/change.py build/since/opal build/release/opal --commit $(SINCE)

# The tool on every script of the folder DIR, T seconds each. HALVES=1 asks for interpolants of
# their halves, SEQUENCE=1 for sequences, RIVALS=1 measures z3 and cvc5 too; ONLY=pattern chooses
# scripts, EXPECT= says the verdict where nothing else does, OUT= is a file of JSON lines.
field:
	scripts/deps.sh demo
	scripts/build.sh release
	python3 bench/field.py build/release/opal $(DIR) --timeout $(T) --jobs $(J) \
	  $(if $(HALVES),--halves) $(if $(SEQUENCE),--sequence) $(if $(RIVALS),--rivals) \
	  $(if $(ONLY),--only '$(ONLY)') $(if $(EXPECT),--expect $(EXPECT)) $(if $(OUT),--out $(OUT))

# Random problems until N interpolants are confirmed; from SEED if given, else a fresh one.
# With OF=splits, N problems with shared terms; with OF=formulas, formulas with disjunctions.
soak:
	scripts/deps.sh demo
	scripts/build.sh release
	scripts/soak.sh build/release/opal $(N) "$(SEED)" $(OF)

# Every fuzz target for S seconds; what they find lies in build/fuzz/found.
fuzz:
	scripts/deps.sh fuzz
	scripts/build.sh fuzz
	scripts/fuzz.sh $(S) $(TARGET)

format:
	scripts/deps.sh check
	scripts/format.sh

lint:
	scripts/deps.sh lint
	scripts/lint.sh

count:
	@scripts/count.sh

# Which lines the tests reach; fails when the engine has less than 95 in 100.
coverage:
	scripts/deps.sh coverage
	scripts/coverage.sh

# API pages, in build/docs/html.
docs:
	scripts/deps.sh docs
	scripts/docs.sh

# The drawings of proofs in docs/images.
pictures:
	scripts/deps.sh pictures
	scripts/build.sh release
	scripts/pictures.sh build/release/opal

install:
	scripts/deps.sh build
	scripts/build.sh release
	cmake --install build/release --prefix $(PREFIX)

# A Debian package of all that, in build/.
deb:
	scripts/deps.sh package
	scripts/build.sh release
	cd build/release && cpack -B $(CURDIR)/build/debian

clean:
	rm -rf build

# The one-word commands. CMakePresets.json holds the builds behind them.
SHELL = bash
.SHELLFLAGS = -e -o pipefail -c
JOBS ?= $(shell nproc)
PREFIX ?=
FUZZ_SECONDS ?= 30
MUTANTS ?= 60
SEED ?= 1
BENCH_ARGS ?=
EXAMPLES = $(sort $(wildcard examples/*.ksl))
CXX_FILES = git ls-files -z '*.h' '*.c' '*.cpp'

.PHONY: build run run-results run-results-large results-pictures test test-results sanitize sanitize-results race check layers share headers format-check tidy format mutate soak bench bench-count fuzz test-editors \
  install package docs dist clean help

build:         ## build the release preset; the host is build/release/bin/ksl
	@tools/setup.sh run
	@$(MAKE) --no-print-directory build-release

# A text that is entered after the files: one parameter changes, and what depends on it is computed again.
define ANOTHER_OFFSET
SHOT: Slices
  Output File = flow-slices-moved.svg
END
CUT: Slice
  Offset = -80 [cm]
END
endef
export ANOTHER_OFFSET

run:           ## build the host and run it on the examples; they end with pictures
	@tools/setup.sh run
	@$(MAKE) --no-print-directory build-release TARGETS='--target ksl --target plugin_flow'
	@mkdir -p build/run
	cd build/run && ../release/bin/ksl run $(addprefix ../../,$(EXAMPLES)) --state
	cd build/run && ../release/bin/ksl run ../../examples/05-slices.ksl -e "$$ANOTHER_OFFSET" --trace graph
	@printf '\nPictures to look at, in build/run:\n'
	@printf '  %-24s%s\n' flow-picture.svg 'examples/04: air past a cylinder' \
	  flow-slices.svg 'examples/05: a slice behind a cylinder that turns' \
	  flow-slices-moved.svg 'the same, after a change of the Offset of the slice'

test:          ## build the dev preset; run all tests and the checks of tools/
	@tools/setup.sh test
	@$(MAKE) --no-print-directory build-dev
	ctest --preset dev

# What all of them need: the host, and the calculate library on VTK. A build that others use goes without VTK again
# afterwards. RESULTS_PRESET=dev takes what make test has built.
RESULTS_TARGETS = --target ksl --target plugin_vtk
RESULTS_PRESET ?= release
RESULTS_KSL = build/$(RESULTS_PRESET)/bin/ksl
define with_vtk
@tools/setup.sh $(2)
cmake --preset $(1) -DKSL_VTK=ON $(3) >/dev/null
@$(MAKE) --no-print-directory build-$(1) TARGETS='$(RESULTS_TARGETS) $(4)'
@find build/$(1)/bin -name 'test_*' ! -newer build/$(1)/lib/libORVKSLCore.so -delete  # ctest would ask them for their tests
endef

run-results:   ## the post-processor on VTK (installs it) on a flow past a cylinder; ends with a picture
	$(call with_vtk,$(RESULTS_PRESET),results)
	@mkdir -p build/run-results
	cp examples/results/cylinder.vtu build/run-results/
	cd build/run-results && ../../$(RESULTS_KSL) run --library ../../share/ksl-results ../../examples/results/cylinder.ksl
	@$(if $(filter-out release,$(RESULTS_PRESET)),cmake --preset $(RESULTS_PRESET) >/dev/null)
	@printf '\nTo look at, in build/run-results:\n'
	@printf '  %-24s%s\n' cylinder.png 'the speed, with streamlines' cylinder-wake.svg 'a profile of the wake' \
	  cylinder.csv 'the flux behind the cylinder, and the pressure in front of it'

run-results-large: ## wind around buildings by OpenFOAM (installs it; takes minutes) and 2.7 million cells: numbers and times beside VTK's Python
	$(call with_vtk,release,results-large)
	/usr/bin/python3 bench/results/large.py --ksl build/release/bin/ksl --folder build/run-results-large --million

results-pictures: ## the pictures of docs/results.md, from its own texts and from that of run-results-large
	$(call with_vtk,release,results)
	python3 tools/results_document.py --ksl build/release/bin/ksl --wind build/run-results-large

test-results:  ## the tests of the post-processor on VTK (installs it)
	$(call with_vtk,dev,results,-DKSL_MPI=ON,--target ksl_mpi)
	status=0; ctest --preset results || status=$$?; cmake --preset dev >/dev/null; exit $$status

sanitize-results: ## the same tests under the address and undefined behaviour sanitizers; VTK's own leaks are left out
	$(call with_vtk,asan,results,-DKSL_MPI=ON,--target ksl_mpi)
	status=0; ctest --preset asan-results || status=$$?; cmake --preset asan >/dev/null; exit $$status

sanitize:      ## the same tests under the address and undefined behaviour sanitizers
	@tools/setup.sh test
	@$(MAKE) --no-print-directory build-asan
	ctest --preset asan

race:          ## models on several threads under the thread sanitizer
	@tools/setup.sh test
	@$(MAKE) --no-print-directory build-tsan
	ctest --preset tsan

check: format-check layers share headers tidy  ## format, layers, share of tests, header self-containment, clang-tidy

layers:
	python3 tools/check_layers.py

share:
	python3 tools/count_lines.py --limit $$(sed -n 's/.*count_lines.py --limit \([0-9]*\).*/\1/p' CMakeLists.txt)

headers:
	python3 tools/check_headers.py

format-check:
	@tools/setup.sh check
	$(CXX_FILES) | xargs -0r clang-format --dry-run -Werror

# TIDY_FILES=… looks at these sources only. (GCC's warning names mean nothing to clang-tidy.)
tidy:
	@tools/setup.sh check
	@$(MAKE) --no-print-directory build/dev/build.ninja
	@$(if $(TIDY_FILES),printf '%s\n' $(TIDY_FILES),git ls-files '*.cpp' ':!fuzz' ':!bench') | \
	  xargs -rt -P$(JOBS) -n1 clang-tidy --quiet -p build/dev --extra-arg=-Wno-unknown-warning-option

format:        ## format all tracked C and C++ files
	@tools/setup.sh check
	$(CXX_FILES) | xargs -0r clang-format -i

mutate:        ## faults put into the sources, and which no test notices (MUTANTS=… SEED=… FILES=…)
	@tools/setup.sh mutate
	python3 tools/mutate.py --mutants $(MUTANTS) --seed $(SEED) --jobs $(JOBS) $(FILES)

soak:          ## random histories over names, long ones (HISTORIES=20000 COMMANDS=100)
	@$(MAKE) --no-print-directory build-dev TARGETS='--target test_services'
	KSL_NAMES_HISTORIES=$(or $(HISTORIES),20000) KSL_NAMES_COMMANDS=$(or $(COMMANDS),100) \
	  build/dev/bin/test_services --gtest_filter='Names.*'

bench:         ## build and run the benchmarks (BENCH_ARGS=…)
	@tools/setup.sh bench
	cmake --preset release >/dev/null
	cmake --build --preset release -j$(JOBS) --target bench
	for b in $$(ls build/release/bin/bench_* | grep -v /bench_counts); do echo "$$b"; $$b $(BENCH_ARGS); done

bench-count:   ## count the instructions of each kind of work; fails 3 % above the figures that are kept (COUNT=library: without ksl)
	@tools/setup.sh bench
	@$(MAKE) --no-print-directory build-counts TARGETS='--target bench_counts $(if $(COUNT),,ksl)'
	python3 tools/bench_count.py $(if $(COUNT),--$(COUNT))

fuzz:          ## build and run each fuzzer for FUZZ_SECONDS (30)
	@tools/setup.sh fuzz
	@$(MAKE) --no-print-directory build-fuzz TARGETS='--target fuzzers'
	for f in build/fuzz/bin/fuzz_*; do name=$${f##*/fuzz_}; \
	  mkdir -p build/fuzz/corpus/$$name; \
	  $$f -max_total_time=$(FUZZ_SECONDS) -timeout=10 -artifact_prefix=build/fuzz/$$name- \
	    build/fuzz/corpus/$$name $$(ls -d fuzz/corpus/$$name 2>/dev/null); done

test-editors:  ## the grammar, "ksl lsp" driven by npm's protocol library and by Neovim
	@tools/setup.sh editors
	@$(MAKE) --no-print-directory build-dev TARGETS='--target ksl'
	mkdir -p build/editors
	cp tests/editors/package.json build/editors
	cd build/editors && npm install --silent --no-audit --no-fund --no-package-lock
	node tests/editors/grammar.mjs build/editors/node_modules .
	node tests/editors/client.mjs build/editors/node_modules build/dev/bin/ksl
	KSL_BIN=$(CURDIR)/build/dev/bin/ksl nvim --headless --clean --cmd 'set rtp^=editors/vim' \
	  -c 'luafile tests/editors/neovim.lua'

install:       ## build the release preset and install it to PREFIX (/usr/local)
	@$(MAKE) --no-print-directory build
	cmake --install build/release $(if $(PREFIX),--prefix $(abspath $(PREFIX)))

package:       ## Debian packages of the release preset, in build/packages; tried in a fresh root (by root)
	@tools/setup.sh package
	cmake --preset release >/dev/null
	@$(MAKE) --no-print-directory build-release
	rm -rf build/packages
	cpack --config build/release/CPackConfig.cmake -B build/packages
	python3 tests/package/package_test.py --build build/release --packages build/packages

docs:          ## the reference manual of the public headers, in build/docs/html
	@tools/setup.sh docs
	mkdir -p build/docs
	VERSION=$$(sed -n 's/^project(.* VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt) doxygen docs/Doxyfile

dist:          ## the sources of the last commit as build/orvksl-VERSION.tar.gz, which builds without git
	@tools/setup.sh dist
	mkdir -p build
	v=$$(sed -n 's/^project(.* VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt); \
	  git archive --prefix=orvksl-$$v/ -o build/orvksl-$$v.tar.gz HEAD && echo build/orvksl-$$v.tar.gz

clean:         ## remove everything built
	rm -rf build

help:          ## this list
	@sed -nE 's/^([a-z-]+):[^#]*## (.*)/make \1	\2/p' Makefile | expand -t 24

# Configured once; ninja itself sees later changes of CMakeLists.txt and new files.
build/%/build.ninja: CMakePresets.json
	cmake --preset $*
	@touch $@

build-%: build/%/build.ninja
	cmake --build --preset $* -j$(JOBS) $(TARGETS)
.PRECIOUS: build/%/build.ninja

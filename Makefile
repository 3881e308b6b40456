# The everyday commands; the build itself is CMake's (CMakeLists.txt, CMakePresets.json).
#
#   make                 builds the engine (build/release/tarvonel) and the network beside it
#   make run             installs what is missing, builds, searches the start position for five seconds
#   make test            installs what is missing, builds and runs all tests
#   make bench           search signature, nodes per second and timings of the parts
#   make training        the programs that make the network file, for this machine (build/native/training)
#   make texel           tries the tuner on positions of random games (docs/development.md)
#   make EXE=NAME EVALFILE=PATH CXX=COMPILER    the best engine for this processor as ./NAME
#   make ssse3 avx2 avx512 neon generic    the engine for other processors (build/avx2/tarvonel)
#   make native          the best of these for the processor at hand
#   make pgo             the engine optimised by what a run of it counted (build/release-pgo/tarvonel); also
#                        pgo-ssse3, pgo-avx2, pgo-avx512
#   make install         installs engine and network side by side under PREFIX
#   make quick           the quick tests alone
#   make debug asan tsan tests of the other builds; make clang: the engine compiled with clang
#   make format tidy layers             habits of the source

PREFIX ?= /usr/local
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
RUN_MILLISECONDS ?= 5000

release := build/release
sources = find src tests bench training tools -name '*.cpp' -o -name '*.h'
ctest = ctest --output-on-failure --no-tests=error -j $(JOBS)

# $(call build,PRESET,TARGETS): configures (again only where something changed) and builds.
build = cmake --preset $(1) >build/$(1).configure.log 2>&1 || { cat build/$(1).configure.log; exit 1; }; \
        cmake --build --preset $(1) -j $(JOBS) --target $(2)

.PHONY: all engine exe run test quick bench training texel pgo native ssse3 avx2 avx512 neon generic debug asan tsan clang format check-format tidy layers \
        install clean

# The convention of frameworks that test engines on many machines: NAME is the best engine for this
# processor, and reads the network PATH where it is told no other.
ifdef EXE
all: exe
else
all: engine
endif

build:
	@mkdir -p build

engine: | build
	@tools/setup.sh build
	@$(call build,release,tarvonel)

exe: preset = $(firstword $(shell tools/runnableBuilds.sh))
exe: folder = build/exe-$(notdir $(CXX))
exe: | build
	@tools/setup.sh build
	cmake --preset $(preset) -B $(folder) -DCMAKE_CXX_COMPILER=$(CXX) -DTARVONEL_NETWORK=$(abspath $(EVALFILE)) \
		-DTARVONEL_TESTS=OFF -DTARVONEL_BENCH=OFF -DTARVONEL_TRAINING=OFF
	cmake --build $(folder) -j $(JOBS) --target tarvonel
	cp $(folder)/tarvonel $(EXE)
	test -n "$(EVALFILE)" || cp $(folder)/*.nnue $(dir $(EXE))

run: engine
	cd $(release) && ./tarvonel go movetime $(RUN_MILLISECONDS)

test: | build
	@tools/setup.sh build test bench training
	@$(call build,release,all)
	$(ctest) --test-dir $(release)

quick: | build
	@tools/setup.sh build test bench training
	@$(call build,release,all)
	$(ctest) --test-dir $(release) -L quick

bench: | build
	@tools/setup.sh build bench
	@$(call build,release,tarvonelSignature tarvonelBench)
	$(release)/bench/tarvonelSignature
	$(release)/bench/tarvonelBench --benchmark_counters_tabular=true

training: | build
	@tools/setup.sh build training
	@$(call build,native,training)

# A data file that is there already stays.
texel: engine
	@tools/setup.sh training
	@$(call build,release,texelData)
	test -f $(release)/lichess-good.epd || $(release)/training/texelData --out $(release)/lichess-good.epd
	cd $(release) && ./tarvonel texel $(JOBS)

native: $(firstword $(shell tools/runnableBuilds.sh))
release: engine

pgo: pgo-release

pgo-%: | build
	@tools/setup.sh build
	tools/profiledBuild.sh $* $(JOBS)

ssse3 avx2 avx512 neon generic: | build
	@tools/setup.sh build
	@$(call build,$@,tarvonel)

debug: | build
	@tools/setup.sh build test
	@$(call build,debug,tarvonelTests)
	$(ctest) --test-dir build/debug -L quick

asan: | build
	@tools/setup.sh build test
	@$(call build,asan-ubsan,tarvonelTests)
	$(ctest) --test-dir build/asan-ubsan -L quick

tsan: | build
	@tools/setup.sh build test
	@$(call build,tsan,tarvonelTests)
	tools/withoutAddressRandomisation.sh $(ctest) --test-dir build/tsan -L threads

clang: | build
	@tools/setup.sh
	@$(call build,clang,tarvonel)

format:
	@tools/setup.sh develop
	$(sources) | xargs clang-format -i

check-format:
	@tools/setup.sh develop
	$(sources) | xargs clang-format --dry-run -Werror

# clang's warnings count as well: they are errors in the build whose commands this reads, one for each file.
tidy: | build
	@tools/setup.sh
	@cmake --preset clang >/dev/null
	run-clang-tidy -quiet -j $(JOBS) -p build/clang '$(CURDIR)/(src|tests|bench|training|tools)/.*'

layers:
	tools/checkLayers.sh

install: engine
	cmake --install $(release) --prefix $(PREFIX)

clean:
	rm -rf build

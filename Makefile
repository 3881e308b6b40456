# The everyday commands; the build itself is CMake's (CMakeLists.txt, CMakePresets.json).
#
#   make                 builds the engine (build/release/tarvonel) and the network beside it
#   make run             installs what is missing, builds, searches the start position for five seconds
#   make test            installs what is missing, builds and runs all tests
#   make bench           search signature, nodes per second and timings of the parts
#   make training        the programs that make the network file, for this machine (build/native/training)
#   make learn HOURS=8   improves the network in the folder learning (docs/training.md)
#   make texel           tries the tuner on positions of random games (docs/development.md)
#   make EXE=NAME EVALFILE=PATH CXX=COMPILER    the best engine for this processor as ./NAME
#   make sse2 ssse3 avx2 avx512 neon generic    the engine for other processors (build/avx2/tarvonel)
#   make windows         the engines for Windows and their network, compiled here (build/windows)
#   make native          the best of these for the processor at hand
#   make pgo             the engine optimised by what a run of it counted (build/release-pgo/tarvonel); also
#                        pgo-ssse3, pgo-avx2, pgo-avx512
#   make install         installs the builds for all processors with one network under PREFIX; the script in
#                        PREFIX/bin starts the best. QUICK=yes leaves out the profiles and link-time optimisation,
#                        BUILDS="avx2 sse2" takes these only; so too for windows and packages
#   make packages        for Debian, other Linux systems and Windows, in dist/; make test-packages tries them
#   make quick           the quick tests alone; make test-windows: the console's on a build for Windows, under wine
#   make debug asan tsan tests of the other builds; make clang: the engine compiled with clang
#   make format tidy layers             habits of the source

PREFIX ?= /usr/local
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
RUN_MILLISECONDS ?= 5000

release := build/release
BUILDS ?= $(if $(filter aarch64,$(shell uname -m)),neon,sse2 ssse3 avx2 avx512)

runnable := $(shell tools/runnableBuilds.sh)
sources = find src tests bench training tools -name '*.cpp' -o -name '*.h'
ctest = ctest --output-on-failure --no-tests=error -j $(JOBS)

# $(call build,PRESET,TARGETS,WORDS): configures (again only where something changed) and builds.
build = cmake --preset $(1) $(3) >build/$(1).configure.log 2>&1 || { cat build/$(1).configure.log; exit 1; }; \
        cmake --build --preset $(1) -j $(JOBS) --target $(2)

# The builds that go out into the world, each with a profile where it can run here. SYSTEM is empty or
# "windows-": $(call shippedTargets,SYSTEM) builds them, in $(call shippedFolders,SYSTEM).
profiled = $(if $(QUICK),,$(filter $(1),$(runnable)))
shippedTargets = $(foreach build,$(BUILDS),$(if $(call profiled,$(build)),pgo-)$(1)$(build))
shippedFolders = $(foreach build,$(BUILDS),build/$(1)$(build)$(if $(call profiled,$(build)),-pgo))

# $(call installAll,FOLDERS,PREFIX)
installAll = for folder in $(1); do cmake --install $$folder --prefix $(2) || exit; done
# $(call pack,GENERATORS,FOLDERS)
pack = cpack -G "$(1)" --config $(firstword $(2))/CPackConfig.cmake -B build/packages \
       -D CPACK_INSTALL_CMAKE_PROJECTS="$(subst ; ,;,$(foreach folder,$(2),$(CURDIR)/$(folder);tarvonel;ALL;/;))"

windowsBuilds = $(addprefix windows-,sse2 ssse3 avx2 avx512)

.PHONY: all engine exe run test quick test-windows bench training learn texel pgo native sse2 ssse3 avx2 avx512 neon generic \
        windows $(windowsBuilds) debug asan tsan clang format check-format tidy layers install packages test-packages clean

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

exe: preset = $(firstword $(runnable))
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

# The tests that drive the engine by its console, on one for Windows under wine.
test-windows: | build
	@tools/setup.sh
	@$(call build,release,tarvonelTests)
	tools/testWindows.sh

bench: | build
	@tools/setup.sh build bench
	@$(call build,release,tarvonelSignature tarvonelBench)
	$(release)/bench/tarvonelSignature
	$(release)/bench/tarvonelBench --benchmark_counters_tabular=true

training: | build
	@tools/setup.sh build training
	@$(call build,native,training)

HOURS ?= 8
learn: training
	build/native/training/learn --folder learning --hours $(HOURS)

# A data file that is there already stays.
texel: engine
	@tools/setup.sh training
	@$(call build,release,texelData)
	test -f $(release)/lichess-good.epd || $(release)/training/texelData --out $(release)/lichess-good.epd
	cd $(release) && ./tarvonel texel $(JOBS)

native: $(firstword $(runnable))

pgo: pgo-release

pgo-%: | build
	@tools/setup.sh build $(findstring windows,$*)
	tools/profiledBuild.sh $* $(JOBS)

sse2 ssse3 avx2 avx512 neon generic $(windowsBuilds): | build
	@tools/setup.sh build $(findstring windows,$@)
	@$(call build,$@,tarvonel,-DTARVONEL_LTO=$(if $(QUICK),OFF,ON))

windows: $(call shippedTargets,windows-)
	rm -rf build/windows
	$(call installAll,$(call shippedFolders,windows-),build/windows)

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

install: $(shippedTargets)
	$(call installAll,$(shippedFolders),$(PREFIX))

packages: $(shippedTargets) $(call shippedTargets,windows-)
	@tools/setup.sh package
	rm -rf build/packages dist
	$(call pack,DEB;TGZ,$(shippedFolders))
	$(call pack,ZIP,$(call shippedFolders,windows-))
	mkdir dist
	mv build/packages/tarvonel[-_]* dist
	cd dist && sha256sum * >SHA256SUMS

# As root: it installs one and removes it.
test-packages:
	@tools/setup.sh package windows
	tools/testPackages.sh

clean:
	rm -rf build dist

# The everyday commands. The build itself is CMake's (CMakeLists.txt, CMakePresets.json).
#
#   make                 builds the engine (build/release/tarvonel) and copies its network there
#   make run             builds the engine and searches the start position for five seconds
#   make test            builds and runs all tests; make quick: the quick tests only
#   make bench           node counts, speed, and timings of the engine's parts
#   make training        the programs that make networks, for this machine (build/native/training), profile-guided with gcc
#   make learn HOURS=8   improves the network in the folder learning (docs/training.md)
#   make EXE=NAME EVALFILE=PATH CXX=COMPILER    the best engine for this processor as NAME
#   make sse2 ssse3 avx2 avx512 neon generic    the engine for other processors (build/avx2/tarvonel)
#   make windows         the engines for Windows and their network, cross-compiled (build/windows)
#   make native          the best of these for this processor
#   make pgo             the profile-guided engine (build/release-pgo/tarvonel); also pgo-ssse3, pgo-avx2, pgo-avx512
#   make builds          everything that make install installs
#   make install         installs the builds for all processors with one network under PREFIX; the script in PREFIX/bin
#                        starts the best. BUILDS="avx2 sse2" selects builds; the same for windows and packages
#   make uninstall       removes them from PREFIX
#   make packages        for Debian, other Linux systems and Windows, in dist/; make test-packages tries them
#   make debug asan tsan tests of the other builds; make clang: the engine compiled with clang
#   make test-windows    the tests of the UCI loop with a build for Windows, under wine
#   make format tidy layers             style checks
#
# All but EXE= and install first install the Debian packages that they need and the machine lacks (tools/setup.sh).
# QUICK=yes leaves out profiles and link-time optimisation. WERROR=ON makes warnings errors.

PREFIX ?= /usr/local
JOBS ?= $(shell nproc 2>/dev/null || getconf _NPROCESSORS_ONLN 2>/dev/null || echo 2)
RUN_MILLISECONDS ?= 5000
HOURS ?= 8

# Scripts are run by their interpreter: an unpacked archive may have no execute bits.
runnable := $(shell sh tools/runnableBuilds.sh)
BUILDS ?= $(if $(filter neon,$(runnable)),neon,sse2 ssse3 avx2 avx512)
# Without a choice CMake and tools/setup.sh take the compiler that they find; make's own default is g++.
ifeq ($(origin CXX),default)
undefine CXX
else
export CXX
endif
export PREFIX

sources = find src tests bench training -name '*.cpp' -o -name '*.h'
ctest = ctest --output-on-failure --no-tests=error -j $(JOBS)
setup = bash tools/setup.sh

werror = $(if $(WERROR),-DTARVONEL_WERROR=$(WERROR))
engineAlone = -DTARVONEL_TESTS=OFF -DTARVONEL_BENCH=OFF -DTARVONEL_TRAINING=OFF
lto = -DTARVONEL_LTO=$(if $(QUICK),OFF,ON)

# $(call build,PRESET,TARGETS,OPTIONS): configures, where something has changed, and builds.
build = bash tools/configure.sh $(1) build/$(1) $(werror) $(3) && \
        cmake --build build/$(1) -j $(JOBS) --target $(2)

# The builds to install and to pack, profile-guided where they can run here. SYSTEM is empty or "windows-":
# $(call shippedTargets,SYSTEM) makes them in $(call shippedFolders,SYSTEM).
profiled = $(if $(QUICK),,$(filter $(1),$(runnable)))
shippedTargets = $(foreach build,$(BUILDS),$(if $(call profiled,$(build)),pgo-)$(1)$(build))
shippedFolders = $(foreach build,$(BUILDS),build/$(1)$(build)$(if $(call profiled,$(build)),-pgo))

# $(call pack,GENERATORS,FOLDERS)
pack = umask 022; cpack -G "$(1)" --config $(firstword $(2))/CPackConfig.cmake -B build/packages \
       -D CPACK_INSTALL_CMAKE_PROJECTS="$(subst ; ,;,$(foreach folder,$(2),$(CURDIR)/$(folder);tarvonel;ALL;/;))"

windowsBuilds = $(addprefix windows-,sse2 ssse3 avx2 avx512)

.PHONY: all engine exe run test quick test-windows bench training learn pgo native sse2 ssse3 avx2 avx512 neon generic builds \
        windows $(windowsBuilds) debug asan tsan clang format check-format tidy layers install uninstall packages \
        test-packages clean
# Targets share build folders; the parallel work is ninja's.
.NOTPARALLEL:

# The convention of frameworks that test engines on many machines.
ifdef EXE
all: exe
else
all: engine
	@echo "The engine: $(CURDIR)/build/release/tarvonel"
endif

engine:
	@$(setup) build
	@$(call build,release,tarvonel,$(engineAlone) $(lto))

exe:
	@bash tools/buildExe.sh $(firstword $(runnable)) "$(EXE)" "$(EVALFILE)" $(JOBS)

run: engine
	cd build/release && ./tarvonel go movetime $(RUN_MILLISECONDS)

test:
	@$(setup) build test training
	@$(call build,test,all)
	$(ctest) --test-dir build/test

quick:
	@$(setup) build test training
	@$(call build,test,all)
	$(ctest) --test-dir build/test -L quick

test-windows:
	@$(setup) build test windows wine
	@$(call build,test,tarvonelTests)
	bash tools/testWindows.sh

bench:
	@$(setup) build bench
	@$(call build,bench,tarvonel tarvonelSignature tarvonelBench,$(lto))
	@bash tools/bench.sh build/bench

training:
	@$(setup) build training
	@bash tools/profiledBuild.sh native build/native training $(JOBS) "$(QUICK)" -DTARVONEL_TESTS=OFF -DTARVONEL_BENCH=OFF

learn: training
	build/native/training/learn --folder learning --hours $(HOURS)

native: $(firstword $(runnable))

pgo: pgo-release

pgo-%:
	@$(setup) $(if $(findstring windows,$*),windows wine,build)
	@bash tools/profiledBuild.sh $* build/$*-pgo tarvonel $(JOBS) "" $(engineAlone)
	@echo "The engine: $(CURDIR)/build/$*-pgo/tarvonel$(if $(findstring windows,$*),.exe)"

sse2 ssse3 avx2 avx512 neon generic $(windowsBuilds):
	@$(setup) $(if $(findstring windows,$@),windows,$(if $(filter neon,$@),arm,build))
	@$(call build,$@,tarvonel,$(engineAlone) $(lto))
	@echo "The engine: $(CURDIR)/build/$@/tarvonel$(if $(findstring windows,$@),.exe)"

builds: $(call shippedTargets)

windows: $(call shippedTargets,windows-)
	rm -rf build/windows
	bash tools/install.sh build/windows $(call shippedFolders,windows-)

debug:
	@$(setup) build test training
	@$(call build,debug,tarvonelTests)
	$(ctest) --test-dir build/debug -L quick

asan:
	@$(setup) build test training
	@$(call build,asan-ubsan,tarvonelTests)
	$(ctest) --test-dir build/asan-ubsan -L quick

tsan:
	@$(setup) build test training
	@$(call build,tsan,tarvonelTests)
	bash tools/withoutAddressRandomisation.sh $(ctest) --test-dir build/tsan -L threads

clang:
	@$(setup) clang
	@CXX= && unset CXX && $(call build,clang,tarvonel)

format:
	@$(setup) format
	$(sources) | xargs clang-format -i

check-format:
	@$(setup) format
	$(sources) | xargs clang-format --dry-run -Werror

# The compiler's warnings about every file are errors here too, as in the build whose commands this reads.
tidy:
	@$(setup) clang tidy test bench training
	@CXX= && unset CXX && bash tools/configure.sh clang build/clang
	run-clang-tidy -quiet -j $(JOBS) -p build/clang

layers:
	bash tools/checkLayers.sh

install:
	@bash tools/install.sh --check "$$DESTDIR$$PREFIX"
	@bash tools/asOwner.sh $(MAKE) builds BUILDS="$(BUILDS)" QUICK="$(QUICK)" JOBS=$(JOBS)
	@bash tools/install.sh "$$DESTDIR$$PREFIX" $(call shippedFolders)

uninstall:
	@bash tools/install.sh --remove "$$DESTDIR$$PREFIX"

packages: $(call shippedTargets) $(call shippedTargets,windows-)
	@$(setup) package
	rm -rf build/packages dist
	$(call pack,DEB;TGZ,$(shippedFolders))
	$(call pack,ZIP,$(call shippedFolders,windows-))
	mkdir dist
	mv build/packages/tarvonel[-_]* dist
	cd dist && sha256sum * >SHA256SUMS

# As root: it installs the Debian package and removes it.
test-packages:
	@$(setup) package windows wine
	bash tools/testPackages.sh

clean:
	rm -rf build dist

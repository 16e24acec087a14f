# Short commands for people: each installs what a fresh Debian 12 lacks, then calls CMake.
.PHONY: demo test package sanitize clang arm big-endian bench scale fuzz format tidy analyse exports \
  abi abi-update build-abi mutate reference clean

SUDO := $(if $(filter-out 0,$(shell id -u)),sudo)
BUILD := g++ cmake ninja-build libcli11-dev
PACKAGE := $(BUILD) dpkg-dev file
# The tests compile the public header with every compiler it is made for, run under two foreign
# locales, install in every way, look at values with gdb, make the reference, and complete commands
# in three shells.
TEST := $(PACKAGE) libgtest-dev clang-14 g++-arm-linux-gnueabihf locales binutils pkg-config gdb \
  doxygen fish mandoc zsh
ARM := $(TEST) googletest qemu-user
PYTHON := /usr/bin/python3
BENCH := g++ cmake ninja-build libbenchmark-dev nlohmann-json3-dev rapidjson-dev \
  libboost-json1.81-dev libtomlplusplus-dev libtoml11-dev python3-matplotlib
FUZZ := g++ cmake ninja-build clang-14 libclang-rt-14-dev
FUZZ_SECONDS := 60
MUTANTS := 100
INCLUDES := -I include -I platform/include -I src -I build/clang/include
# GCC 12 believes that `new` may return null, does not follow pointers into the memory of records
# and pages, and takes allocators, which have no members, for uninitialized.
GCC_ANALYZER := -fanalyzer -O0 -Wno-analyzer-possible-null-dereference \
  -Wno-analyzer-possible-null-argument -Wno-analyzer-malloc-leak \
  -Wno-analyzer-use-of-uninitialized-value
ABI_LIBRARY := build/abi/src/libvexo_variant.so

# Installs those of the packages that are missing; of what apt-get says, only the faults are shown.
define need
	@missing=$$(for package in $(1); do \
	  dpkg-query -W -f='$${Status}' $$package 2>/dev/null | grep -q ' installed$$' || echo $$package; \
	done); \
	if [ -n "$$missing" ]; then \
	  echo "Installing" $$missing; \
	  $(SUDO) apt-get update -qq && \
	  $(SUDO) env DEBIAN_FRONTEND=noninteractive \
	    apt-get install -y -qq --no-install-recommends $$missing > /dev/null; \
	fi
endef

# Configures and builds a preset.
define build
	cmake --preset $(1) $(2)
	cmake --build --preset $(1)
endef

demo:
	$(call need,$(BUILD))
	$(call build,demo)
	sh examples/demo.sh build/demo/tools/vexo-variant

test:
	$(call need,$(TEST))
	$(call build,release)
	ctest --preset release

# The .deb files, in build/.
package:
	$(call need,$(PACKAGE))
	$(call build,package)
	cpack --config build/package/CPackConfig.cmake -B build
	rm -r build/_CPack_Packages

sanitize:
	$(call need,$(TEST))
	$(call build,sanitize)
	ctest --preset sanitize

clang:
	$(call need,$(TEST))
	$(call build,clang)
	ctest --preset clang

arm:
	$(call need,$(ARM))
	$(call build,arm)
	ctest --preset arm
	$(call build,arm-time64)
	ctest --preset arm-time64

big-endian:
	$(call need,$(ARM) g++-s390x-linux-gnu)
	$(call build,big-endian)
	ctest --preset big-endian

# Its package cannot be installed beside Boost 1.81, but its headers need nothing else.
build/msgpack/usr/include/msgpack.hpp:
	mkdir -p build/msgpack
	-cd build/msgpack && (apt-get download libmsgpack-cxx-dev || \
	  ($(SUDO) apt-get update -q && apt-get download libmsgpack-cxx-dev)) && \
	  dpkg -x libmsgpack-cxx-dev_*.deb .

# With BENCH_OPTIONS such as --quick or --filter='^parse', only prints.
bench: build/msgpack/usr/include/msgpack.hpp
	$(call need,$(BENCH))
	$(call build,bench,-DMSGPACK_INCLUDE_DIR=$(CURDIR)/build/msgpack/usr/include)
	$(PYTHON) bench/generate.py build/bench/data
	$(PYTHON) bench/report.py build/bench/bench/vexo-bench build/bench/data \
	  $(or $(BENCH_OPTIONS),--out docs/performance.json --chart docs/performance.svg)

# Huge pages: otherwise the times of large trees are those of address translation.
scale:
	$(call need,$(TEST))
	$(call build,release)
	GLIBC_TUNABLES=glibc.malloc.hugetlb=1 build/release/tests/vexo-scale --gtest_brief=1

# Each target for FUZZ_SECONDS; what it finds stays in build/fuzz for the next time.
fuzz:
	$(call need,$(FUZZ))
	$(call build,fuzz)
	@for target in $(notdir $(wildcard fuzz/seeds/*)); do \
	  echo "fuzz-$$target for $(FUZZ_SECONDS) seconds"; \
	  dictionary=fuzz/$$target.dict; \
	  mkdir -p build/fuzz/corpus/$$target && \
	  build/fuzz/fuzz/fuzz-$$target -max_total_time=$(FUZZ_SECONDS) -max_len=500 -timeout=10 \
	    $$(test ! -f $$dictionary || echo -dict=$$dictionary) -verbosity=0 -print_final_stats=1 \
	    -artifact_prefix=build/fuzz/$$target- build/fuzz/corpus/$$target fuzz/seeds/$$target \
	    || exit 1; \
	done

format:
	$(call need,clang-format)
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

# One file for each run: from the second file on, its check of va_list takes each for uninitialized.
tidy:
	$(call need,$(TEST) clang-tidy)
	$(call build,clang)
	git ls-files 'src/*.cpp' 'platform/*.cpp' 'tools/*.cpp' | \
	  xargs -P2 -n1 clang-tidy-14 -p build/clang --quiet

# Fails on any finding; .clang-tidy and .cppcheck-suppressions say what is meant. The thread
# sanitizer's memory layout needs addresses that are not too random.
analyse: tidy
	$(call need,cppcheck)
	cppcheck -q --std=c++20 --language=c++ --enable=warning,style,performance,portability \
	  --suppressions-list=.cppcheck-suppressions --error-exitcode=1 $(INCLUDES) src platform/src
	git ls-files 'src/*.cpp' 'platform/*.cpp' | \
	  xargs -P2 -n1 g++ -std=c++20 $(GCC_ANALYZER) -Werror $(INCLUDES) -c -o /dev/null
	$(call build,tsan)
	setarch -R build/tsan/tests/vexo-tests --gtest_filter='Threads*'

# Accepts what the library exports now; the test `exports` compares with the lists.
exports:
	$(call need,$(ARM))
	$(call build,release)
	$(call build,arm)
	tests/exports_test.sh --update nm build/release/src/libvexo_variant.so abi/x86_64-exports.txt
	tests/exports_test.sh --update arm-linux-gnueabihf-nm build/arm/src/libvexo_variant.so \
	  abi/arm-exports.txt

# Compares the library with abi/x86_64.abi, the functions and the layout of the public types that
# programs built earlier rely on; `make abi-update` accepts a change, which needs another SOVERSION
# unless it only adds functions.
abi: build-abi
	abidiff --exported-interfaces-only abi/x86_64.abi $(ABI_LIBRARY)

abi-update: build-abi
	mkdir -p abi
	abidw --exported-interfaces-only --headers-dir include --drop-private-types --no-corpus-path \
	  --no-comp-dir-path --no-show-locs --no-elf-needed --no-parameter-names \
	  --no-write-default-sizes --out-file abi/x86_64.abi $(ABI_LIBRARY)

build-abi:
	$(call need,$(BUILD) abigail-tools)
	$(call build,abi)

# Breaks the sources in MUTANTS places, one at a time, and lists what the tests do not notice.
mutate:
	$(call need,$(TEST) python3)
	python3 tests/mutate.py --mutants $(MUTANTS)

# The reference of the public interface, from the headers: build/reference/html/index.html.
reference:
	$(call need,doxygen)
	mkdir -p build/reference
	REFERENCE_DIR=build/reference doxygen docs/Doxyfile

clean:
	rm -rf build

#!/bin/sh
# Installs the Debian packages that one kind of work needs: setup.sh run|test|results|results-large|check|mutate|bench|fuzz|editors|package|docs|dist ...
# Asks dpkg first, so it costs next to nothing when everything is there.
set -eu

build="g++ make cmake ninja-build libudunits2-dev libcli11-dev nlohmann-json3-dev libedit-dev"
python="python3 python3-dev python3-numpy pybind11-dev"  # for the Python package
packages=
for group in "${@:-run}"; do
  case $group in
    run) packages="$packages $build" ;;
    test) packages="$packages $build $python libgtest-dev libgmock-dev librapidcheck-dev mypy udunits-bin pkgconf binutils abigail-tools" ;;
    check) packages="$packages $build libgtest-dev libgmock-dev librapidcheck-dev python3 udunits-bin git clang-format clang-tidy" ;;
    mutate) packages="$packages $build libgtest-dev libgmock-dev librapidcheck-dev python3 udunits-bin git ccache" ;;
    bench) packages="$packages $build libbenchmark-dev libmuparser-dev valgrind python3" ;;
    results) packages="$packages $build python3 procps libgtest-dev libgmock-dev librapidcheck-dev libvtk9-dev xvfb openmpi-bin libopenmpi-dev" ;;
    results-large) packages="$packages $build libvtk9-dev xvfb python3-vtk9 python3-numpy openfoam openfoam-examples ffmpeg" ;;
    fuzz) packages="$packages $build clang libclang-rt-14-dev" ;;
    editors) packages="$packages $build neovim $(command -v npm >/dev/null || echo npm)" ;;
    package) packages="$packages $build $python dpkg-dev file pkgconf binutils" ;;
    docs) packages="$packages make doxygen python3" ;;
    dist) packages="$packages git" ;;
    *) echo "setup.sh: unknown group '$group' (run, test, results, results-large, check, mutate, bench, fuzz, editors, package, docs, dist)" >&2; exit 2 ;;
  esac
done

if ! command -v dpkg-query >/dev/null; then
  echo "setup.sh: no dpkg here; make sure these are installed:$packages" >&2
  exit 0
fi

# dpkg-query names only what it knows, hence the comparison with what was asked for.
missing() {
  installed=" $(dpkg-query -W -f='${db:Status-Status}=${Package} ' $packages 2>/dev/null || true)"
  for package in $packages; do
    case $installed in
      *" installed=$package "*) ;;
      *) printf '%s ' "$package" ;;
    esac
  done
}

wanted=$(missing)
[ -n "$wanted" ] || exit 0
echo "setup.sh: installing: $wanted"
as_root=
if [ "$(id -u)" != 0 ]; then
  if ! command -v sudo >/dev/null; then
    echo "setup.sh: neither root nor sudo; install these first: $wanted" >&2
    exit 1
  fi
  as_root=sudo
fi
export DEBIAN_FRONTEND=noninteractive
if ! { $as_root apt-get update -q </dev/null &&
       $as_root apt-get install -q -y --no-install-recommends $wanted </dev/null; }; then
  echo "setup.sh: could not install: $(missing)" >&2
  exit 1
fi
wanted=$(missing)
if [ -n "$wanted" ]; then
  echo "setup.sh: still missing: $wanted" >&2
  exit 1
fi

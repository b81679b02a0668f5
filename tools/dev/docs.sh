# ./dev docs: the reference site of the public headers and the pages of docs/.

# Ends the command where something that it needs cannot be had. 77 is the code for "could not run", which is no failure.
cannot_run_docs() {
    echo "dev: docs cannot run here: $1" >&2
    exit 77
}

command_docs() {
    case "${1:-}" in
    '')
        ensure doxygen doxygen-awesome-css python3
        bash tools/docs/make_site.sh build/docs
        echo "docs: build/docs/html/index.html"
        ;;
    --check)
        (ensure doxygen doxygen-awesome-css python3 chromium) || cannot_run_docs "packages are missing and cannot be installed"
        python3 docs/pictures/draw.py --check
        python3 tests/documentation/check_pages.py .
        bash tools/docs/test_site.sh build/docs
        ;;
    --pictures)
        ensure graphviz python3
        python3 docs/pictures/draw.py
        ;;
    *) echo "dev: docs knows no $1" >&2 && exit 2 ;;
    esac
}

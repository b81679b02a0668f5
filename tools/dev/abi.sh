# ./dev abi: the binary interface of the shared library against the one on record.

# Writes the binary interface of library $1 to file $2: its exported symbols, and the layouts of the types of the public
# headers that they reach. Nothing in it tells where the library was built, or on which line something stands.
describe_abi() {
    abidw --headers-dir include --drop-private-types --drop-undefined-syms --suppressions tools/abi/left_out.ini \
        --no-show-locs --no-corpus-path --no-comp-dir-path --no-elf-needed --no-parameter-names --type-id-style hash \
        --out-file "$2.raw" "$1"
    sed "s#path='$(pwd -P)/#path='#" "$2.raw" >"$2"
    rm "$2.raw"
}

command_abi() {
    local record fresh=build/dev/libORVA.abi symbols status=0
    record=abi/libORVA.$(uname -m).abi
    case "${1:-}" in
    '' | --record) ;;
    *) echo "dev: abi takes nothing or --record" >&2 && exit 2 ;;
    esac
    ensure_compiler && ensure abigail-tools
    build dev --target ORVA
    describe_abi build/dev/libORVA.so "$fresh"
    symbols=$(grep -c '<elf-symbol ' "$fresh" || true)
    [ "$symbols" -gt 0 ] || { echo "dev: no exported symbol was found in the library" >&2; exit 1; }
    if [ "${1:-}" = --record ]; then
        mkdir -p abi
        cp "$fresh" "$record"
        echo "abi: $symbols symbols are on record in $record"
        return
    fi
    [ -f "$record" ] || { echo "dev: there is no record for this processor; make one with ./dev abi --record" >&2; exit 1; }
    abidiff --harmless --no-show-locs "$record" "$fresh" || status=$?
    if [ $status -ne 0 ]; then
        echo "dev: the binary interface is not the one on record. If that is meant, record it with ./dev abi --record," >&2
        echo "dev: and let the change of $record go with the change that made it" >&2
        return 1
    fi
    echo "abi: $symbols symbols and their types are as on record"
}

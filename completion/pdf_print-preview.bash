# pdf_print-preview.bash - completion of its command line in bash; scripts/options.sh writes it

_pdf_print_preview() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    # "NAME=value" comes as three words
    if [ "$word" = "=" ]; then
        word=
    elif [ "$before" = "=" ]; then
        before=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    case $before in
    -o | --output)
        COMPREPLY=($(compgen -f -- "$word"))
        return
        ;;
    --pages)
        return
        ;;
    --page-set)
        COMPREPLY=($(compgen -W "odd even" -- "$word"))
        return
        ;;
    --dpi)
        return
        ;;
    --fail-over)
        return
        ;;
    esac
    case $word in
    -*)
        COMPREPLY=($(compgen -W "--output=
            --pages=
            --page-set=
            --reverse
            --dpi=
            --fail-over=
            --help
            --version" -- "$word"))
        [[ ${COMPREPLY-} == *= ]] && compopt -o nospace
        ;;
    *)
        COMPREPLY=($(compgen -f -X '!*.[pP][dD][fF]' -- "$word") $(compgen -d -- "$word"))
        compopt -o filenames
        ;;
    esac
}
complete -F _pdf_print_preview pdf_print-preview

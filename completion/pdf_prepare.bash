# pdf_prepare.bash - completion of its command line in bash; scripts/options.sh writes it

_pdf_prepare() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    # "NAME=value" comes as three words
    if [ "$word" = "=" ]; then
        word=
    elif [ "$before" = "=" ]; then
        before=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    case $before in
    --pages)
        return
        ;;
    --page-set)
        COMPREPLY=($(compgen -W "odd even" -- "$word"))
        return
        ;;
    --annotations)
        COMPREPLY=($(compgen -W "print screen none" -- "$word"))
        return
        ;;
    --box)
        COMPREPLY=($(compgen -W "crop media trim bleed art" -- "$word"))
        return
        ;;
    --level)
        COMPREPLY=($(compgen -W "2 3" -- "$word"))
        return
        ;;
    --resolution)
        return
        ;;
    --max-time)
        return
        ;;
    --password-file)
        COMPREPLY=($(compgen -f -- "$word"))
        return
        ;;
    esac
    case $word in
    -*)
        COMPREPLY=($(compgen -W "--pages=
            --page-set=
            --reverse
            --annotations=
            --box=
            --level=
            --resolution=
            --max-time=
            --password-file=
            --if-needed
            --rewrite
            --canonical
            --probe
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
complete -F _pdf_prepare pdf_prepare

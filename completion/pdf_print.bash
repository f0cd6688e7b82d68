# pdf_print.bash - completion of its command line in bash; scripts/options.sh writes it

_pdf_print() {
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
    -d | --printer)
        COMPREPLY=($(compgen -W "$(lpstat -e 2>/dev/null)" -- "$word"))
        return
        ;;
    --title)
        return
        ;;
    --user)
        return
        ;;
    --pages)
        return
        ;;
    --page-set)
        COMPREPLY=($(compgen -W "odd even" -- "$word"))
        return
        ;;
    --copies)
        return
        ;;
    --duplex)
        COMPREPLY=($(compgen -W "long short off" -- "$word"))
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
    --paper)
        COMPREPLY=($(compgen -W "match a3 a4 a5 a6 b4 b5 letter legal tabloid ledger executive statement folio" -- "$word"))
        return
        ;;
    --ppd)
        COMPREPLY=($(compgen -f -- "$word"))
        return
        ;;
    --tray)
        return
        ;;
    --media-type)
        return
        ;;
    --output-bin)
        return
        ;;
    --staple)
        return
        ;;
    --option)
        return
        ;;
    --n-up)
        COMPREPLY=($(compgen -W "1 2 4 6 9 16" -- "$word"))
        return
        ;;
    --n-up-order)
        COMPREPLY=($(compgen -W "right-down right-up left-down left-up down-right down-left up-right up-left" -- "$word"))
        return
        ;;
    --poster)
        COMPREPLY=($(compgen -W "2x2 1x2 2x1 2x3 3x2 3x3 4x4" -- "$word"))
        return
        ;;
    --scale)
        return
        ;;
    --margins)
        return
        ;;
    --rotate)
        COMPREPLY=($(compgen -W "90 180 270" -- "$word"))
        return
        ;;
    --level)
        COMPREPLY=($(compgen -W "2 3" -- "$word"))
        return
        ;;
    --resolution)
        return
        ;;
    --printer-memory)
        return
        ;;
    --max-output)
        return
        ;;
    --max-time)
        return
        ;;
    --max-work)
        return
        ;;
    --password-file)
        COMPREPLY=($(compgen -f -- "$word"))
        return
        ;;
    --progress)
        COMPREPLY=($(compgen -W "auto always never" -- "$word"))
        return
        ;;
    esac
    case $word in
    -*)
        COMPREPLY=($(compgen -W "--output=
            --printer=
            --title=
            --user=
            --pjl
            --pages=
            --page-set=
            --reverse
            --copies=
            --collate
            --duplex=
            --annotations=
            --box=
            --paper=
            --fit
            --shrink
            --actual
            --no-centre
            --ppd=
            --tray=
            --media-type=
            --output-bin=
            --staple=
            --option=
            --n-up=
            --n-up-order=
            --borders
            --booklet
            --poster=
            --scale=
            --margins=
            --rotate=
            --mirror
            --ascii
            --binary
            --no-compress
            --level=
            --eps
            --resolution=
            --printer-memory=
            --max-output=
            --max-time=
            --max-work=
            --password-file=
            --no-prepare
            --strict
            --keep-going
            --quiet
            --verbose
            --progress=
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
complete -F _pdf_print pdf_print

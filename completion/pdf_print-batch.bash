# pdf_print-batch.bash - completion of its command line in bash; scripts/options.sh writes it

_pdf_print_batch() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    # "NAME=value" comes as three words
    if [ "$word" = "=" ]; then
        word=
    elif [ "$before" = "=" ]; then
        before=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    case $before in
    -o | --output)
        return
        ;;
    -j | --jobs)
        return
        ;;
    --sshlogin)
        return
        ;;
    --csv)
        COMPREPLY=($(compgen -f -- "$word"))
        return
        ;;
    --jsonl)
        COMPREPLY=($(compgen -f -- "$word"))
        return
        ;;
    --share)
        return
        ;;
    esac
    case $word in
    -*)
        COMPREPLY=($(compgen -W "--output=
            --jobs=
            --sshlogin=
            --csv=
            --jsonl=
            --retry-failed
            --again
            --begin
            --share=
            --end
            --help
            --version" -- "$word"))
        [[ ${COMPREPLY-} == *= ]] && compopt -o nospace
        ;;
    *)
        COMPREPLY=($(compgen -d -- "$word"))
        compopt -o filenames
        ;;
    esac
}
complete -F _pdf_print_batch pdf_print-batch

# bash completion for id3tag

_id3tag()
{
    local cur prev words cword split
    _init_completion -s -n : || return

    case $prev in
        -i | --picture)
            _filedir '@(png|jpg|jpeg|PNG|JPG|JPEG)'
            return
            ;;
        --plist)
            _filedir plist
            return
            ;;
        -o | --output-file | --generic-object)
            _filedir
            return
            ;;
        -a | --output-address)
            _known_hosts_real -c -- "$cur"
            compopt -o nospace  # the port follows
            return
            ;;
        --text-type)
            COMPREPLY=($(compgen -W 'TALB TBPM TCOM TCON TCOP TDRC TIT1 TIT2 TIT3 TLAN TPE1 TPE2 TPUB TRCK TRSN TRSO TXXX' -- "${cur^^}"))
            return
            ;;
        --url-type)
            COMPREPLY=($(compgen -W 'WCOM WCOP WOAF WOAR WOAS WORS WPAY WPUB WXXX' -- "${cur^^}"))
            return
            ;;
        --picture-type)
            COMPREPLY=($(compgen -W "$(echo {0..20})" -- "$cur"))
            return
            ;;
        --explicit)
            COMPREPLY=($(compgen -W '0 1 2' -- "$cur"))
            return
            ;;
        -t | --text | -u | --url | -d | --description | --title | --artist | --album | --jingle | --zib | --qorid | \
            --generic-object-type)
            return
            ;;
    esac
    $split && return

    COMPREPLY=($(compgen -W '--output-file= --output-address= --repeat --help --version --title= --artist= --album=
        --text= --text-type= --url= --url-type= --picture= --picture-type= --generic-object= --generic-object-type=
        --plist= --explicit= --jingle= --zib= --qorid= --description=' -- "$cur"))
    [[ ${COMPREPLY-} == *= ]] && compopt -o nospace
} && complete -F _id3tag id3tag

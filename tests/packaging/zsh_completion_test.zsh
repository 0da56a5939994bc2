# What zsh offers where the words of wgr are completed, in a terminal of its own.
#
# zsh -f zsh_completion_test.zsh FOLDER: FOLDER holds the completion, _wgr. Ends with 77,
# skipped, where there are no pseudo terminals.
zmodload zsh/zpty || exit 77
folder=$1

zpty shell zsh -f -i 2>/dev/null || {
  # Without /dev/pts, as in a chroot: again with one that this test alone sees.
  [[ -z $WGR_OWN_TERMINALS ]] && unshare -rm true 2>/dev/null || {
    print "skipped: no pseudo terminal can be opened: mount /dev/pts"
    exit 77
  }
  WGR_OWN_TERMINALS=1 exec unshare -rm sh -c '
    mount -t tmpfs none /mnt && touch /mnt/null && mount --bind /dev/null /mnt/null &&
      mkdir /mnt/pts && mount -t devpts -o newinstance,ptmxmode=0666 devpts /mnt/pts &&
      ln -s pts/ptmx /mnt/ptmx && mount --rbind /mnt /dev && exec zsh -f "$@"
    echo "skipped: no pseudo terminal can be mounted"
    exit 77' sh $0 $folder
}
scratch=$(mktemp -d) || exit 1
trap 'rm -rf $scratch' EXIT
mkfifo $scratch/offered
integer failed=0

# Each match that a completer adds goes to the FIFO, and a dot after all of them.
cat >$scratch/setup.zsh <<END
fpath=($folder \$fpath)
autoload -Uz compinit && compinit -u -d $scratch/dump
compadd() {
  if [[ \${@[1,(i)(-|--)]} == *-(O|A|D)\ * ]]; then
    builtin compadd "\$@"
    return
  fi
  local -a hits
  builtin compadd -O hits "\$@"
  (( \$#hits )) && print -rl -- \$hits >&9
  builtin compadd "\$@"
}
offer() { zle complete-word; print -r -- . >&9; zle send-break }
zle -N offer
bindkey '^I' offer
cd $scratch
touch recording.csv
exec 9>$scratch/offered
END
zpty -w shell "source $scratch/setup.zsh"
exec 8<$scratch/offered

# offers EXPECTED TEXT: what is offered after TEXT, sorted.
offers() {
  local line
  local -a got
  zpty -w -n shell "$2"$'\t'
  while read -t 20 -r line <&8; do
    [[ $line == . ]] && break
    got+=($line)
  done
  got=(${(ou)got})
  [[ "$got" == "$1" ]] || {
    print -u2 "$2: zsh offers '$got', not '$1'"
    failed=1
  }
  while zpty -r -t shell line; do :; done
}

offers explain 'wgr expl'
offers --sample-rate 'wgr replay --sam'
offers '0 1' 'wgr replay --wearer '
offers 'csv cut' 'wgr capture c'
offers --from 'wgr capture cut --fr'
offers 'repetition session subject' 'wgr eval set --leave-out '
offers recording.csv 'wgr replay rec'
offers recording.csv 'wgr explain --expect rec'
zpty -d shell
exit $failed

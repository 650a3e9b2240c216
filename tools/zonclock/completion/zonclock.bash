# bash completion for zonclock: commands, options, city names and --format values, asked of
# zonclock itself ("zonclock __complete WORD...") so that they never drift from the program.
_zonclock()
{
	local cur=${COMP_WORDS[COMP_CWORD]}
	local IFS=$'\n'
	local words
	words=$("${COMP_WORDS[0]}" __complete -- "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
	if [[ -z $words ]]; then
		# Files for backup and restore, and for --root.
		compopt -o default 2>/dev/null
		COMPREPLY=()
		return
	fi
	# City names may hold blanks: each candidate is one word.
	COMPREPLY=($(compgen -W "$(printf '%q\n' $words)" -- "$(printf '%q' "$cur")"))
	[[ ${#COMPREPLY[@]} -eq 0 ]] && COMPREPLY=($words)
}
complete -F _zonclock zonclock

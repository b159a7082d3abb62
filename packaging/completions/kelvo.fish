# fish completion for kelvo(1)
complete -c kelvo -l color-scheme -x -a "light dark system" -d "Colors of the interface"
complete -c kelvo -l reverse -f -d "Lay the windows out from right to left"
complete -c kelvo -s h -l help -f -d "Show the options"
complete -c kelvo -s v -l version -f -d "Show the version"

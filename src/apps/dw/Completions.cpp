#include "apps/dw/Completions.h"

namespace driftwell::dw {

namespace {

constexpr const char* bash = R"script(# Completion for dw in bash. Load it with: source <(dw completion bash)
_dw() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]}
    COMPREPLY=()
    if ((COMP_CWORD == 1)); then
        COMPREPLY=($(compgen -W "host login logout deploy list whoami completion help --version --help" -- "$current"))
        return
    fi
    case $command in
        deploy)
            if [[ $previous == --name ]]; then
                return
            elif [[ $current == -* ]]; then
                COMPREPLY=($(compgen -W "--name --dry-run --json --help" -- "$current"))
            else
                compopt -o filenames 2>/dev/null
                mapfile -t COMPREPLY < <(compgen -d -- "$current")
            fi
            ;;
        login) COMPREPLY=($(compgen -W "--no-browser --with-token --json --help" -- "$current")) ;;
        list | logout | whoami) COMPREPLY=($(compgen -W "--json --help" -- "$current")) ;;
        completion) COMPREPLY=($(compgen -W "bash zsh fish" -- "$current")) ;;
        help) COMPREPLY=($(compgen -W "host login logout deploy list whoami completion" -- "$current")) ;;
        host) COMPREPLY=($(compgen -W "--help" -- "$current")) ;;
    esac
}
complete -F _dw dw
)script";

constexpr const char* zsh = R"script(#compdef dw
# Completion for dw in zsh. Load it with: source <(dw completion zsh)
_dw() {
    local -a commands=(
        'host:print the platform in use, or choose another'
        'login:sign in to the platform, in the browser'
        'logout:sign out of the platform'
        'deploy:publish a folder as a website and print its address'
        'list:list the sites of the team'
        'whoami:print who is signed in'
        'completion:print a completion script for a shell'
        'help:print help, for all commands or for one'
    )
    if ((CURRENT == 2)); then
        _describe command commands
        _arguments '--version[print the version]' '--help[print help]'
        return
    fi
    local command=$words[2]
    shift words
    ((CURRENT--))
    case $command in
        deploy)
            _arguments '--name[the name of the site]:name:' '--dry-run[list the files and send nothing]' \
                '--json[print one JSON object]' '--help[print help]' '1:folder:_files -/'
            ;;
        login)
            _arguments '(--with-token)--no-browser[print the address to open, and open nothing]' \
                '(--no-browser)--with-token[sign in with a token from standard input]' \
                '--json[print one JSON object]' '--help[print help]'
            ;;
        list | logout | whoami) _arguments '--json[print one JSON object]' '--help[print help]' ;;
        completion) _arguments '1:shell:(bash zsh fish)' ;;
        help) _arguments '1:command:(host login logout deploy list whoami completion)' ;;
        host) _arguments '1:host:_hosts' '--help[print help]' ;;
    esac
}
if [[ $funcstack[1] == _dw ]]; then
    _dw "$@"
elif (($+functions[compdef])); then
    compdef _dw dw
fi
)script";

constexpr const char* fish = R"script(# Completion for dw in fish. Load it with: dw completion fish | source
complete -c dw -f
complete -c dw -n __fish_use_subcommand -a host -d 'Print the platform in use, or choose another'
complete -c dw -n __fish_use_subcommand -a login -d 'Sign in to the platform, in the browser'
complete -c dw -n __fish_use_subcommand -a logout -d 'Sign out of the platform'
complete -c dw -n __fish_use_subcommand -a deploy -d 'Publish a folder as a website and print its address'
complete -c dw -n __fish_use_subcommand -a list -d 'List the sites of the team'
complete -c dw -n __fish_use_subcommand -a whoami -d 'Print who is signed in'
complete -c dw -n __fish_use_subcommand -a completion -d 'Print a completion script for a shell'
complete -c dw -n __fish_use_subcommand -a help -d 'Print help, for all commands or for one'
complete -c dw -n __fish_use_subcommand -l version -d 'Print the version'
complete -c dw -l help -s h -d 'Print help'
complete -c dw -n '__fish_seen_subcommand_from deploy' -a '(__fish_complete_directories)'
complete -c dw -n '__fish_seen_subcommand_from deploy' -l name -x -d 'The name of the site'
complete -c dw -n '__fish_seen_subcommand_from deploy' -l dry-run -d 'List the files and send nothing'
complete -c dw -n '__fish_seen_subcommand_from login' -l no-browser -d 'Print the address to open, and open nothing'
complete -c dw -n '__fish_seen_subcommand_from login' -l with-token -d 'Sign in with a token from standard input'
complete -c dw -n '__fish_seen_subcommand_from login logout deploy list whoami' -l json -d 'Print one JSON object'
complete -c dw -n '__fish_seen_subcommand_from completion' -a 'bash zsh fish'
complete -c dw -n '__fish_seen_subcommand_from help' -a 'host login logout deploy list whoami completion'
)script";

} // namespace

std::string completionScript(std::string_view shell) {
    if (shell == "bash") {
        return bash;
    }
    if (shell == "zsh") {
        return zsh;
    }
    return shell == "fish" ? fish : "";
}

} // namespace driftwell::dw

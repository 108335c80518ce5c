#include "apps/dw/Completions.h"

namespace driftwell::dw {

namespace {

// The names of the sites are the platform's. What is no site name is left out, for a shell would take it as it is.

constexpr const char* bash = R"script(# Completion for dw in bash. Load it with: source <(dw completion bash)
_dw_sites() {
    timeout "${DW_COMPLETION_SECONDS:-2}" dw list 2>/dev/null | cut -f 1 | LC_ALL=C grep -xE '[a-z0-9][a-z0-9-]*'
}
_dw() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]}
    local commands="host login logout deploy list open logs history rollback delete share libs whoami completion" words=""
    COMPREPLY=()
    case $COMP_CWORD:$command:$previous in
        1:*) words="$commands help --version --help" ;;
        *:share:--mode) words="team restricted public" ;;
        *:share:--comments) words="on off" ;;
        *:deploy:--name | *:logs:--limit | *:delete:--confirm) ;;
        *:share:--invite | *:share:--remove | *:libs:--enable | *:libs:--disable) ;;
        *:deploy:*)
            if [[ $current == -* ]]; then
                words="--name --dry-run --json --help"
            else
                compopt -o filenames 2>/dev/null
                mapfile -t COMPREPLY < <(compgen -d -- "$current")
            fi
            ;;
        *:open:* | *:logs:* | *:history:* | *:rollback:* | *:delete:* | *:share:* | *:libs:*)
            if [[ $current != -* ]]; then
                words=$(_dw_sites)
            else
                words="--json --help"
                case $command in
                    logs) words+=" --limit" ;;
                    delete) words+=" --confirm" ;;
                    share) words+=" --mode --invite --remove --comments" ;;
                    libs) words+=" --enable --disable" ;;
                esac
            fi
            ;;
        *:login:*) words="--no-browser --with-token --json --help" ;;
        *:list:* | *:logout:* | *:whoami:*) words="--json --help" ;;
        *:completion:*) words="bash zsh fish" ;;
        *:help:*) words=$commands ;;
        *:host:*) words="--help" ;;
    esac
    if [[ -n $words ]]; then
        COMPREPLY=($(compgen -W "$words" -- "$current"))
    fi
}
complete -F _dw dw
)script";

constexpr const char* zsh = R"script(#compdef dw
# Completion for dw in zsh. Load it with: source <(dw completion zsh)
_dw_sites() {
    local seconds=${DW_COMPLETION_SECONDS:-2}
    local -a sites=(${(f)"$(timeout $seconds dw list 2>/dev/null | cut -f 1 | LC_ALL=C grep -xE '[a-z0-9][a-z0-9-]*')"})
    compadd -a sites
}
_dw() {
    local -a commands=(
        'host:print the platform in use, or choose another'
        'login:sign in to the platform, in the browser'
        'logout:sign out of the platform'
        'deploy:publish a folder as a website and print its address'
        'list:list the sites of the team'
        'open:open a site in the browser and print its address'
        'logs:print the recent activity of a site'
        'history:print the deployments and rollbacks of a site'
        'rollback:swap the live version of a site with the one before it'
        'delete:delete a site for good'
        'share:print who may open a site, or change that'
        'libs:list the shared libraries of a site, or switch them'
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
    local -a common=('--json[print one JSON object]' '--help[print help]') site=('1:site:_dw_sites')
    shift words
    ((CURRENT--))
    case $command in
        deploy)
            _arguments $common '--name[the name of the site]:name:' '--dry-run[list the files and send nothing]' \
                '1:folder:_files -/'
            ;;
        login)
            _arguments $common '(--with-token)--no-browser[print the address to open, and open nothing]' \
                '(--no-browser)--with-token[sign in with a token from standard input]'
            ;;
        list | logout | whoami) _arguments $common ;;
        open | history | rollback) _arguments $common $site ;;
        logs) _arguments $common $site '--limit[at most so many lines]:number:' ;;
        delete) _arguments $common $site '--confirm[the name of the site once more]:name:' ;;
        share)
            _arguments $common $site '--mode[who may open it]:mode:(team restricted public)' \
                '*--invite[invite somebody]:address:' '*--remove[take an invitation back]:address:' \
                '--comments[whether everyone with access can comment]:switch:(on off)'
            ;;
        libs)
            _arguments $common $site '*--enable[switch a library on]:library:' \
                '*--disable[switch a library off]:library:'
            ;;
        completion) _arguments '1:shell:(bash zsh fish)' ;;
        help)
            _arguments '1:command:(host login logout deploy list open logs history rollback delete share libs whoami completion)'
            ;;
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
function __dw_sites
    set -l seconds 2
    test -n "$DW_COMPLETION_SECONDS"; and set seconds $DW_COMPLETION_SECONDS
    timeout $seconds dw list 2>/dev/null | cut -f 1 | LC_ALL=C grep -xE '[a-z0-9][a-z0-9-]*'
end
complete -c dw -f
complete -c dw -n __fish_use_subcommand -a host -d 'Print the platform in use, or choose another'
complete -c dw -n __fish_use_subcommand -a login -d 'Sign in to the platform, in the browser'
complete -c dw -n __fish_use_subcommand -a logout -d 'Sign out of the platform'
complete -c dw -n __fish_use_subcommand -a deploy -d 'Publish a folder as a website and print its address'
complete -c dw -n __fish_use_subcommand -a list -d 'List the sites of the team'
complete -c dw -n __fish_use_subcommand -a open -d 'Open a site in the browser and print its address'
complete -c dw -n __fish_use_subcommand -a logs -d 'Print the recent activity of a site'
complete -c dw -n __fish_use_subcommand -a history -d 'Print the deployments and rollbacks of a site'
complete -c dw -n __fish_use_subcommand -a rollback -d 'Swap the live version of a site with the one before it'
complete -c dw -n __fish_use_subcommand -a delete -d 'Delete a site for good'
complete -c dw -n __fish_use_subcommand -a share -d 'Print who may open a site, or change that'
complete -c dw -n __fish_use_subcommand -a libs -d 'List the shared libraries of a site, or switch them'
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
set -l site_commands open logs history rollback delete share libs
complete -c dw -n "__fish_seen_subcommand_from login logout deploy list whoami $site_commands" -l json -d 'Print one JSON object'
complete -c dw -n "__fish_seen_subcommand_from $site_commands; and not __fish_seen_subcommand_from help" -a '(__dw_sites)'
complete -c dw -n '__fish_seen_subcommand_from logs' -l limit -x -d 'At most so many lines'
complete -c dw -n '__fish_seen_subcommand_from delete' -l confirm -x -d 'The name of the site once more'
complete -c dw -n '__fish_seen_subcommand_from share' -l mode -x -a 'team restricted public' -d 'Who may open it'
complete -c dw -n '__fish_seen_subcommand_from share' -l invite -x -d 'Invite somebody'
complete -c dw -n '__fish_seen_subcommand_from share' -l remove -x -d 'Take an invitation back'
complete -c dw -n '__fish_seen_subcommand_from share' -l comments -x -a 'on off' -d 'Whether everyone can comment'
complete -c dw -n '__fish_seen_subcommand_from libs' -l enable -x -d 'Switch a library on'
complete -c dw -n '__fish_seen_subcommand_from libs' -l disable -x -d 'Switch a library off'
complete -c dw -n '__fish_seen_subcommand_from completion' -a 'bash zsh fish'
complete -c dw -n '__fish_seen_subcommand_from help' -a 'host login logout deploy list open logs history rollback delete share libs whoami completion'
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

#!/bin/sh
# Writes the source of the message catalogue "conf" (see gencat(1)) from the message table to packaging/conf.msg.
set -e
root=$(cd "$(dirname "$0")/.." && pwd)
{
    echo '$ Messages of LumConf. To translate: copy this file, translate the texts, keep %1, %2 and so on, and the numbers,'
    echo '$ run gencat conf.cat <copy>, and name its place in NLSPATH, for example /opt/lum/nls/%N.cat'
    echo '$set 1'
    echo '$quote "'
    { tr '\n' ' ' < "$root/src/Messages.def"; echo; } | sed 's/LUM_MESSAGE(/\n&/g' |
        sed -n 's/^LUM_MESSAGE([A-Za-z0-9]*, \([1-9][0-9]*\), [A-Za-z]*, *\("[^"]*"\)) *$/\1 \2/p'
} > "$root/packaging/conf.msg"

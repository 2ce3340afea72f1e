# The lock screen's views through a compositor's lock, seen with grim from outside: text drawn
# dark on a light picture and light on a dark one, the playing track of a real player (mpv over
# MPRIS) with its cover, the media keys typed on the lock surface reaching the player, the mail
# badge set over the bus, and the Shut Down button clicked through a virtual pointer asking the
# login manager to power off while the lock holds. Each output shows the whole of the rig's
# 1280x800 X screen fitted to the output: the points below are the lock screen's, scaled.
#   e2e_wayland_lock_screen.sh labwc|sway
set -u
compositor=$1
source "$TESTS_DIR/rig/wayland_session.sh"
start_fake_logind || fail "no fake logind"
shots=${SCREENSHOT_DIR:-$RIG_DIR}
mkdir -p "$shots"
quiet_scripts
start_player
session_start
pointer_start
measure_outputs

# --- Pictures of HEADLESS-1, and regions of them in the lock screen's points. ---------------
shot() { # NAME: a picture of HEADLESS-1, its path printed
    in_chroot grim -o HEADLESS-1 "$WAYLAND_RUNTIME/$1.png" || return 1
    cp "$WAYLAND_CHROOT$WAYLAND_RUNTIME/$1.png" "$shots/wayland-$1-$compositor.png"
    echo "$shots/wayland-$1-$compositor.png"
}
region() { # W H X Y in points: a crop geometry of the output's pixels
    echo "$(($1 * output_w / 1280))x$(($2 * output_h / 800))+$(($3 * output_w / 1280))+$(($4 * output_h / 800))"
}
share_below() { # SHOT W H X Y LEVEL%
    convert "$1" -crop "$(region "$2" "$3" "$4" "$5")" +repage -colorspace Gray -threshold "$6%" \
        -negate -format '%[fx:mean]' info:
}
share_above() { # SHOT W H X Y LEVEL%
    convert "$1" -crop "$(region "$2" "$3" "$4" "$5")" +repage -colorspace Gray -threshold "$6%" \
        -format '%[fx:mean]' info:
}
has_colour() { # SHOT W H X Y COLOUR
    [ "$(convert "$1" -crop "$(region "$2" "$3" "$4" "$5")" +repage -fuzz 12% -fill black \
        +opaque "$6" -fill white -opaque "$6" -format '%[fx:mean>0]' info:)" = 1 ]
}
above() { awk -v v="$1" -v min="$2" 'BEGIN { exit !(v > min) }'; }

lock_with_picture() { # COLOUR NAME
    every_view_options "$1" "$2"
    start_tessarine_in_session
    "$TESSARINE" lock || fail "tessarine lock failed"
    wait_until 5 lock_shown || fail "not every output shows the lock screen"
    sleep 0.8 # the first paint of every view
}

# --- A light picture: dark text, the music, the media keys, the mail badge. -----------------
lock_with_picture white light
light=$(shot black-text) || fail "no picture of the lock screen"
# The clock under the lock image: black glyphs on the white picture.
above "$(share_below "$light" 400 46 440 488 8)" 0.01 || fail "no black clock text on the light picture"
above "$(share_below "$light" 60 30 610 715 50)" 0 || fail "no battery in the icon row"
# The player's cover in the bottom-left corner, at 0.6 over the white picture, and the track line
# to its right.
has_colour "$light" 20 20 17 758 '#e370a9' || fail "no album cover in the corner"
above "$(share_below "$light" 300 22 55 778 40)" 0 || fail "no track line"

# The media keys, typed on the lock surface (the compositor gives every key to it), reach the
# player; the track line follows.
# Each key toggles; it is pressed again only if the player did not change at all (wtype's first
# key is now and then lost to the keyboard's set-up under load).
media_key() { # KEY STATUS
    local tries
    for tries in 1 2; do
        in_chroot wtype -s 200 -k "$1" || fail "wtype could not press $1"
        wait_until 3 player_is "$2" && return 0
    done
    fail "$1 did not bring the player to $2: $(player_status)"
}
media_key XF86AudioPause Paused
media_key XF86AudioPlay Playing
lock_shown || fail "a media key ended the lock"

# The mail badge: none before a count, then the count 3 set over the bus (a red badge).
! has_colour "$light" 40 40 600 705 '#e0312c' || fail "a count badge before any count"
busctl --user set-property org.tessarine.Tessarine /org/tessarine/Tessarine \
    org.tessarine.Tessarine mail i 3 || fail "the mail count could not be set"
badge() { local now; now=$(shot mail) && has_colour "$now" 40 40 600 705 '#e0312c'; }
wait_until 3 badge || fail "the mail badge did not show the count"

# --- Shut Down, clicked: the login manager is asked to power off; the lock stays. -----------
# The button is the leftmost bright text in the band of the top-right corner where the button
# pair stands (grey text on the white picture: the darker text there).
buttons=$(shot buttons) || fail "no picture of the lock screen"
left=$(convert "$buttons" -crop "$(region 400 24 880 16)" +repage -colorspace Gray -threshold 70% \
    -negate -trim -format '%X' info: 2>/dev/null | tr -d '+')
[ -n "$left" ] && [ "$left" -ge 0 ] || fail "no Shut Down button in the top-right corner"
pointer_click $((880 + left * 1280 / output_w + 12)) 27 ||
    fail "the virtual pointer could not click: $(cat "$RIG_DIR/pointer.txt")"
wait_until 5 eval '[ "$(logind_count poweroff)" -gt 0 ]' || fail "logind was not asked to power off"
grep -q '^poweroff interactive' "$RIG_DIR/logind.out" ||
    fail "logind was asked otherwise: $(grep poweroff "$RIG_DIR/logind.out")"
sleep 0.5
lock_shown || fail "Shut Down ended the lock"
unlock_with_password "after Shut Down"
stop_tessarine

# --- A dark picture: light text. --------------------------------------------------------------
lock_with_picture '#102040' dark
dark=$(shot white-text) || fail "no picture of the lock screen"
above "$(share_above "$dark" 400 46 440 488 92)" 0.01 || fail "no white clock text on the dark picture"
above "$(share_above "$dark" 60 30 610 715 70)" 0 || fail "no light battery on the dark picture"
unlock_with_password "on the dark picture"
echo PASS

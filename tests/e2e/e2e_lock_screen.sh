# The lock screen as a user sees it: a picture behind, text drawn dark on a light picture and
# light on a dark one, the clock and the lock image, the battery, the playing track of a real
# player (mpv over MPRIS) with its cover, the media keys, and the mail badge set over the bus.
# Screenshots are kept in $SCREENSHOT_DIR.
set -u
source "$TESTS_DIR/rig/desktop.sh"
desktop_start 1280x800 || fail "the desktop did not come up"
fake_power_supply
write_password ab
shots=${SCREENSHOT_DIR:-$RIG_DIR}
mkdir -p "$shots"
quiet_scripts
start_player

# Helpers on screenshots: the share of a region darker (or lighter) than a level, and whether
# a colour close to the given one occurs in it.
share_below() { # SHOT W H X Y LEVEL%
    convert "$1" -crop "$2x$3+$4+$5" +repage -colorspace Gray -threshold "$6%" -negate \
        -format '%[fx:mean]' info:
}
share_above() { # SHOT W H X Y LEVEL%
    convert "$1" -crop "$2x$3+$4+$5" +repage -colorspace Gray -threshold "$6%" \
        -format '%[fx:mean]' info:
}
has_colour() { # SHOT W H X Y COLOUR
    [ "$(convert "$1" -crop "$2x$3+$4+$5" +repage -fuzz 12% -fill black +opaque "$6" \
        -fill white -opaque "$6" -format '%[fx:mean>0]' info:)" = 1 ]
}
positive() { awk -v v="$1" 'BEGIN { exit !(v > 0) }'; }
shot() { import -window root "$shots/$1.png" && echo "$shots/$1.png"; }
locked() { keyboard_grabbed_by_other; }

lock_with_picture() { # COLOUR NAME
    every_view_options "$1" "$2"
    : >"$RIG_DIR/tessarine.log"
    start_tessarine
    wait_until 5 tray_icon_embedded || fail "no tray icon"
    "$TESSARINE" lock
    wait_until 3 locked || fail "the lock was not taken"
    sleep 0.8 # the fade and the first paint
}

unlock() {
    xdotool type --delay 40 ab
    wait_until 3 keyboard_free || fail "the password did not unlock"
    stop_tessarine
}

# --- A light picture: dark text. ------------------------------------------------------------
lock_with_picture white light
light=$(shot lock-screen-black-text)
# The clock under the lock image, at the centre: black glyphs on the white picture. White text
# would leave only its shadow here, never near black.
dark_share=$(share_below "$light" 400 46 440 488 8)
awk -v v="$dark_share" 'BEGIN { exit !(v > 0.01) }' || fail "no black clock text on the light picture"
# The lock image covers the centre.
positive "$(share_below "$light" 60 60 610 370 60)" || fail "no lock image at the centre"
# The battery at the bottom centre: a dark glyph.
positive "$(share_below "$light" 60 30 610 715 50)" || fail "no battery in the icon row"
# The cover in the bottom-left corner, at 0.6 over the white picture.
has_colour "$light" 20 20 17 758 '#e370a9' || fail "no album cover in the corner"
# The track: "Now Playing: Evening Tone" to the right of the cover.
band() { convert "$1" -crop 300x22+55+778 +repage "$RIG_DIR/$2.png"; }
band "$light" playing
positive "$(share_below "$light" 300 22 55 778 40)" || fail "no track line"

# Paused in the player itself: the line changes within a second.
playerctl --player=mpv pause
wait_until 2 player_is Paused || fail "mpv did not pause"
changed_from_playing() {
    import -window root "$RIG_DIR/now.png"
    band "$RIG_DIR/now.png" now
    [ "$(compare -metric AE "$RIG_DIR/playing.png" "$RIG_DIR/now.png" null: 2>&1)" != 0 ]
}
wait_until 1.5 changed_from_playing || fail "the line did not change to paused within a second"
paused=$(shot lock-screen-paused)

# The play key while locked reaches the player through Tessarine, which holds the keyboard.
xdotool key XF86AudioPlay
wait_until 2 player_is Playing || fail "the play key did not resume the player: $(player_status)"
xdotool key XF86AudioPlay
wait_until 2 player_is Paused || fail "the play key did not pause the player: $(player_status)"

# The mail badge: an empty envelope, then the count 3 set over the bus (a red badge).
! has_colour "$paused" 40 40 600 705 '#e0312c' || fail "a count badge before any count"
busctl --user set-property org.tessarine.Tessarine /org/tessarine/Tessarine \
    org.tessarine.Tessarine mail i 3
badge() { import -window root "$RIG_DIR/badge.png" && has_colour "$RIG_DIR/badge.png" 40 40 600 705 '#e0312c'; }
wait_until 2 badge || fail "the mail badge did not show the count"
shot lock-screen-mail >/dev/null

# A click on the do-not-disturb button (right of the battery) brings the password field under
# the clock: white on black with dark text. The mouse is moved there first, as a hand would.
field_shown() {
    import -window root "$RIG_DIR/field.png" &&
        awk -v v="$(share_below "$RIG_DIR/field.png" 200 16 540 546 30)" 'BEGIN { exit !(v > 0.5) }'
}
! field_shown || fail "the password field showed before the click"
xdotool mousemove 690 727
sleep 0.2
xdotool click 1
wait_until 2 field_shown || fail "a click on do-not-disturb did not bring the password field"
shot lock-screen-password-field >/dev/null
unlock

# --- A dark picture: light text. ------------------------------------------------------------
playerctl --player=mpv play
lock_with_picture '#102040' dark
dark=$(shot lock-screen-white-text)
light_share=$(share_above "$dark" 400 46 440 488 92)
awk -v v="$light_share" 'BEGIN { exit !(v > 0.01) }' || fail "no white clock text on the dark picture"
positive "$(share_above "$dark" 60 30 610 715 70)" || fail "no light battery on the dark picture"
unlock
echo PASS

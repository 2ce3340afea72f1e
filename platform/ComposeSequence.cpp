#include "platform/ComposeSequence.h"

#include "platform/ComposeLocale.h"

#include <xkbcommon/xkbcommon-compose.h>
#include <xkbcommon/xkbcommon.h>

#include <array>

ComposeSequence::ComposeSequence()
{
    m_context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    if (!m_context)
        return;
    m_table = xkb_compose_table_new_from_locale(m_context, ComposeLocale::name(),
                                                XKB_COMPOSE_COMPILE_NO_FLAGS);
    if (m_table)
        m_state = xkb_compose_state_new(m_table, XKB_COMPOSE_STATE_NO_FLAGS);
}

ComposeSequence::~ComposeSequence()
{
    xkb_compose_state_unref(m_state);
    xkb_compose_table_unref(m_table);
    xkb_context_unref(m_context);
}

ComposeSequence::Outcome ComposeSequence::feed(uint32_t keysym)
{
    if (!m_state || keysym == XKB_KEY_NoSymbol)
        return {};
    if (xkb_compose_state_feed(m_state, keysym) != XKB_COMPOSE_FEED_ACCEPTED)
        return {}; // a modifier: it takes no part
    switch (xkb_compose_state_get_status(m_state)) {
    case XKB_COMPOSE_COMPOSING:
        return {Step::InProgress, {}};
    case XKB_COMPOSE_COMPOSED: {
        std::array<char, 64> utf8{};
        const int length = xkb_compose_state_get_utf8(m_state, utf8.data(), utf8.size());
        xkb_compose_state_reset(m_state);
        if (length <= 0 || length >= int(utf8.size()))
            return {Step::InProgress, {}}; // composes to nothing typed
        return {Step::Composed, std::string(utf8.data(), size_t(length))};
    }
    case XKB_COMPOSE_CANCELLED:
        // As in the password windows: the sequence is dropped and this key types as usual.
        xkb_compose_state_reset(m_state);
        return {};
    case XKB_COMPOSE_NOTHING:
        break;
    }
    return {};
}

void ComposeSequence::reset()
{
    if (m_state)
        xkb_compose_state_reset(m_state);
}

// Dates and spans in words.

const DAY = 86400000;

/** "2025-01-01T00:00:00Z" as people read it. */
export function dateText(iso) {
  return iso === null ? 'a date that cannot be read' : iso.replace('T', ' ').replace('Z', ' UTC');
}

export function dayText(iso) {
  return iso === null ? '?' : iso.slice(0, 10);
}

/** Milliseconds as "3 days", "2 hours": the largest unit, rounded down. */
function spanText(milliseconds) {
  const units = [[365.25 * DAY, 'year'], [DAY, 'day'], [DAY / 24, 'hour'], [DAY / 1440, 'minute']];
  const yearsFrom = 3;
  for (const [size, name] of units) {
    const count = Math.floor(milliseconds / size);
    if (count >= (name === 'year' ? yearsFrom : 1)) {
      return `${count.toLocaleString('en')} ${name}${count === 1 ? '' : 's'}`;
    }
  }
  return 'less than a minute';
}

/**
 * How a validity stands now: {state: good, soon, early, over or unknown, words, days, part}; `part` is from 0 to 1, `days`
 * those that are left where the words do not have them.
 */
export function lifeOf(notBefore, notAfter, now = Date.now()) {
  const from = Date.parse(notBefore);
  const until = Date.parse(notAfter);
  if (Number.isNaN(from) || Number.isNaN(until)) {
    return { state: 'unknown', words: 'dates that cannot be read', days: null, part: 0 };
  }
  const part = Math.min(1, Math.max(0, (now - from) / Math.max(1, until - from)));
  // The last second of a validity is all of it.
  if (now >= until + 1000) return { state: 'over', words: `expired ${spanText(now - until)} ago`, days: null, part: 1 };
  if (now < from) return { state: 'early', words: `starts in ${spanText(from - now)}`, days: null, part: 0 };
  const state = until - now < 30 * DAY ? 'soon' : 'good';
  const words = spanText(until - now);
  return { state, words: `${words} left`, days: words.endsWith('years') ? Math.floor((until - now) / DAY) : null, part };
}

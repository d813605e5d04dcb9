// Private keys in forms that the library does not read, since no certificate stands in them: they are named all the same.

// PEM that is cut off, quoted or all in one line, and its kin; PuTTY; JSON Web Keys; RSAKeyValue; "openssl pkey -text".
const MARKS = new RegExp([
  'BEGIN [A-Z0-9 ]{0,40}PRIVATE KEY', 'PuTTY-User-Key-File-', '<D>\\s{0,40}[\\w+/]{16}',
  '\\bpriv(?:ateExponent)?:\\s{0,40}[0-9a-f]{2}:'].join('|'));
const WEB_KEY = /"kty"\s{0,9}:/;
const SECRET = /"[dk]"\s{0,9}:\s{0,9}"[\w-]{16}/;
const LONGEST = 100;

/** Looks for one in an input that comes in pieces. */
export class KeySearch {
  #decoder = new TextDecoder('latin1');
  #rest = '';
  found = false;

  feed(octets) {
    if (this.found) return;
    const text = this.#rest + this.#decoder.decode(octets);
    this.found = MARKS.test(text) || (WEB_KEY.test(text) && SECRET.test(text));
    this.#rest = text.slice(-LONGEST);
  }
}

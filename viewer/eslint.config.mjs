// What the scripts of the viewer have to be; scripts/viewer holds them against it.

const BROWSER = ['document', 'window', 'performance', 'navigator', 'location', 'history', 'innerWidth', 'addEventListener',
  'postMessage', 'onmessage', 'URL', 'Blob', 'Response', 'Worker', 'MessageChannel', 'DecompressionStream', 'ResizeObserver',
  'Node', 'HTMLInputElement', 'TextEncoder', 'TextDecoder', 'WebAssembly', 'setTimeout', 'atob', 'btoa'];

export default [{
  files: ['page/*.js'],
  languageOptions: {
    ecmaVersion: 2022, sourceType: 'module',
    globals: Object.fromEntries(BROWSER.map((name) => [name, name === 'onmessage' ? 'writable' : 'readonly'])),
  },
  rules: {
    'no-undef': 'error', 'no-unused-vars': 'error', 'no-shadow': 'error', 'no-redeclare': 'error', 'no-var': 'error',
    'prefer-const': 'error', eqeqeq: 'error', 'no-eval': 'error', 'no-implied-eval': 'error', 'no-unreachable': 'error',
    'no-fallthrough': 'error', 'no-const-assign': 'error', 'no-dupe-keys': 'error', 'max-lines': ['error', 260],
    'max-lines-per-function': ['error', 60], 'max-depth': ['error', 3], complexity: ['error', 16],
    // Whatever makes markup of text.
    'no-restricted-properties': ['error', ...['innerHTML', 'outerHTML', 'insertAdjacentHTML', 'write'].map((property) => ({ property }))],
  },
}];

import { createRequire } from 'node:module';

// The packages are in the folder NODE_MODULES, because the build does not install them here.
const js = createRequire(`${process.env.NODE_MODULES}/`)('@eslint/js');

const browser = [
  'AbortController', 'AbortSignal', 'DecompressionStream', 'Element', 'Event', 'HTMLAnchorElement',
  'HTMLButtonElement', 'HTMLElement', 'HTMLInputElement', 'KeyboardEvent', 'Node', 'ResizeObserver',
  'Response', 'SVGSVGElement', 'TextDecoder', 'addEventListener', 'atob', 'clearTimeout', 'dispatchEvent',
  'document', 'history', 'location', 'performance', 'print', 'requestIdleCallback', 'setTimeout',
];

export default [
  js.configs.recommended,
  {
    languageOptions: {
      ecmaVersion: 2022,
      sourceType: 'module',
      globals: Object.fromEntries(browser.map((name) => [name, 'readonly'])),
    },
    rules: {
      'complexity': ['error', 12],
      'eqeqeq': 'error',
      'max-lines-per-function': ['error', { max: 40, skipComments: true, skipBlankLines: true }],
      'no-eval': 'error',
      'no-implied-eval': 'error',
      'no-restricted-properties': [
        'error',
        ...[
          { property: 'innerHTML' },
          { property: 'outerHTML' },
          { property: 'insertAdjacentHTML' },
          { object: 'document', property: 'write' },
        ].map((each) => ({ ...each, message: 'Texts of messages must not be parsed as markup.' })),
      ],
      'no-shadow': 'error',
      'no-unused-vars': ['error', { argsIgnorePattern: '^_' }],
      'no-var': 'error',
      'prefer-const': 'error',
    },
  },
  { files: ['*.mjs'], languageOptions: { globals: { process: 'readonly' } } },
];

import { createRequire } from "node:module";

// The tools lie in a build folder, from where this is run.
const require = createRequire(`${process.cwd()}/`);
const js = require("@eslint/js");
const globals = require("globals");

export default [
  js.configs.recommended,
  {
    languageOptions: { globals: { ...globals.browser, ...globals.node } },
    // Control characters are what the page keeps from the screen.
    rules: {
      "no-control-regex": "off",
      "no-unused-vars": ["error", { argsIgnorePattern: "^_" }],
      eqeqeq: "error",
      "prefer-const": "error",
    },
  },
];

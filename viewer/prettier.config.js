export default { printWidth: 120 };
